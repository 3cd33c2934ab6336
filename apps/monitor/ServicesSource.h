// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemsVexil.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>

namespace monitor {

/// Services cannot be browsed: this build cannot do it, or the system does not let it. `what()`
/// says why.
class NoServices : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Keeps a collection filled with the services of one type that are on the network. It changes the
/// collection only within `wait`.
class ServicesSource {
 public:
  /// Begins to browse. Throws `NoServices`.
  ServicesSource(const std::string& type, const std::shared_ptr<KRAVTWVServicesVexil>& services);
  ServicesSource(const ServicesSource&) = delete;
  ServicesSource& operator=(const ServicesSource&) = delete;
  ~ServicesSource();

  /// Waits until services come or go, `descriptor` is readable (-1 stands for none), or `timeout`
  /// has passed. Then updates the collection. May return early.
  void wait(std::chrono::milliseconds timeout, int descriptor = -1);

  /// Whether all services that are on the network now have been found.
  [[nodiscard]] bool settled() const;

 private:
  struct Browsing;
  std::unique_ptr<Browsing> _browsing;
};

}  // namespace monitor
