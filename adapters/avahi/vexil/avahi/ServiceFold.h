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

/// A DNS name in the form of the platform, with the dot of the root at its end: "local" becomes
/// "local.", "local." and "." stay, an empty name becomes ".". An escaped dot ("\.") belongs to a
/// label and is not a final dot.
[[nodiscard]] std::string withFinalDot(std::string_view name);

/// Makes one service of its copies. On a machine with several interfaces, each with two protocols,
/// the daemon reports a service and its end once for each of them. A person sees one service.
///
/// A service exists from its first copy until its last one has gone. Name, type and domain together
/// tell it apart from others; type and domain are compared with their final dot. The services
/// returned have that dot. A service is the same object from appearing to disappearing.
///
/// This class knows nothing of the daemon and keeps only the services that exist now.
class ServiceFold {
 public:
  using Service = std::shared_ptr<platform::NetService>;

  /// Where a copy was seen: an interface and a protocol, in whatever numbers the source uses.
  struct Place {
    int interface = 0;
    int protocol = 0;
    friend auto operator<=>(const Place&, const Place&) = default;
  };

  /// Call when a copy was seen. Returns the service when this is its first copy, otherwise null.
  /// The same copy seen twice counts once.
  Service appeared(std::string_view name, std::string_view type, std::string_view domain,
                   Place place);

  /// Call when a copy has gone. Returns the service when this was its last copy; null when there
  /// are others, or when this copy was never seen.
  Service disappeared(std::string_view name, std::string_view type, std::string_view domain,
                      Place place);

  /// Removes all services and returns them, sorted by domain, type and name.
  [[nodiscard]] std::vector<Service> clear();

  /// The number of services.
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
