// SPDX-License-Identifier: Apache-2.0
#include "monitor/ServicesSource.h"

namespace monitor {

struct ServicesSource::Browsing {};

ServicesSource::ServicesSource(const std::string& /*type*/,
                               const std::shared_ptr<KRAVTWVServicesVexil>& /*services*/) {
  throw NoServices("this build has no service browsing: it was made without the Avahi adapter");
}

ServicesSource::~ServicesSource() = default;

void ServicesSource::wait(std::chrono::milliseconds /*timeout*/, int /*descriptor*/) {}

bool ServicesSource::settled() const {
  return true;
}

}  // namespace monitor
