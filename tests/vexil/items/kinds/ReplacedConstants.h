// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/KRAVTWVItemsVexil.h>

#include <array>
#include <string_view>

namespace test {

/// A constant of the host engine library, as this program sees it.
struct Constant {
  std::string_view name;
  std::string_view value;
};

/// All of them.
inline std::array<Constant, 18> constants() {
  return {{
      {"kTWEventUniqueID", kTWEventUniqueID},
      {"kTWEventName", kTWEventName},
      {"kTWEventEnabled", kTWEventEnabled},
      {"kTWEventDomain", kTWEventDomain},
      {"kTWDomainUniqueID", kTWDomainUniqueID},
      {"kTWDomainName", kTWDomainName},
      {"kTWDomainType", kTWDomainType},
      {"kTWDomainType_Engine", kTWDomainType_Engine},
      {"kTWQueuedTriggerTriggerID", kTWQueuedTriggerTriggerID},
      {"kTWQueuedTriggerEvent", kTWQueuedTriggerEvent},
      {"kTWQueuedTriggerTrigger", kTWQueuedTriggerTrigger},
      {"kTWTriggerDate", kTWTriggerDate},
      {"kTWActiveEventActiveID", kTWActiveEventActiveID},
      {"kTWActiveEventActivity", kTWActiveEventActivity},
      {"kTWActiveEventEvent", kTWActiveEventEvent},
      {"kTWWorkspaceUTIEvent", kTWWorkspaceUTIEvent},
      {"kTWWorkspaceUTISchedule", kTWWorkspaceUTISchedule},
      {"kTWWorkspaceFileExtensionSchedule", kTWWorkspaceFileExtensionSchedule},
  }};
}

}  // namespace test
