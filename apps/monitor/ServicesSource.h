// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemsVexil.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>

namespace monitor {

/// Services cannot be browsed: this build cannot, or the system does not let it. `what()` says why.
class NoServices : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Fills a collection with the services of one type that are on the network, as they come and go.
/// Everything happens within `wait`.
class ServicesSource {
 public:
  /// Begins to browse. Raises `NoServices`.
  ServicesSource(const std::string& type, const std::shared_ptr<KRAVTWVServicesVexil>& services);
  ServicesSource(const ServicesSource&) = delete;
  ServicesSource& operator=(const ServicesSource&) = delete;
  ~ServicesSource();

  /// Waits until there is news of services, `descriptor` is readable (if it is one, and not -1), or
  /// the time is up, and takes the news in. May return early.
  void wait(std::chrono::milliseconds timeout, int descriptor = -1);

  /// Whether all services that are there now have been found.
  [[nodiscard]] bool settled() const;

 private:
  struct Browsing;
  std::unique_ptr<Browsing> _browsing;
};

}  // namespace monitor
