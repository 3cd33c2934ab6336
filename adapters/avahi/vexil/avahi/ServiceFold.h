// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/NetService.h>

#include <compare>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vexil::avahi {

/// A name of DNS as the platform writes it, with the dot of the root at its end: "local" becomes
/// "local.", "local." and "." stay, an empty name becomes ".". A dot that is escaped ("\.") belongs
/// to a label and ends nothing.
[[nodiscard]] std::string withFinalDot(std::string_view name);

/// Makes one service of its copies. On a machine with several interfaces, each with two protocols,
/// the daemon reports a service once for each of them, and its end likewise; a person sees one.
///
/// A service is there from its first copy until its last one has gone, and is told apart from
/// others by name, type and domain together, the latter two compared with their final dot. The
/// services returned have that dot, and each is the same object from appearing to disappearing.
///
/// It knows nothing of the daemon and keeps no more than what is there now.
class ServiceFold {
 public:
  using Service = std::shared_ptr<platform::NetService>;

  /// Where a copy was seen: an interface and a protocol, by whatever numbers the source has.
  struct Place {
    int interface = 0;
    int protocol = 0;
    friend auto operator<=>(const Place&, const Place&) = default;
  };

  /// A copy was seen. Returns the service when this is its first one, null otherwise; the same copy
  /// seen twice counts once.
  Service appeared(std::string_view name, std::string_view type, std::string_view domain,
                   Place place);

  /// A copy has gone. Returns the service when this was its last one; null while there are others,
  /// or when this copy was never seen.
  Service disappeared(std::string_view name, std::string_view type, std::string_view domain,
                      Place place);

  /// Forgets everything and returns the services that were there, by domain, type and name.
  [[nodiscard]] std::vector<Service> clear();

  /// How many services there are.
  [[nodiscard]] std::size_t size() const noexcept { return _entries.size(); }

 private:
  struct Identity {
    std::string domain;
    std::string type;
    std::string name;
    friend auto operator<=>(const Identity&, const Identity&) = default;
  };

  struct Entry {
    Service service;
    std::set<Place> places;
  };

  static Identity identity(std::string_view name, std::string_view type, std::string_view domain);

  std::map<Identity, Entry> _entries;
};

}  // namespace vexil::avahi
