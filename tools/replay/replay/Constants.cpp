// SPDX-License-Identifier: Apache-2.0
#include <replay/Constants.h>
#include <ternwood/Ternwood.h>
#include <vexil/platform/TypeIdentifier.h>

#include <span>

namespace platform = vexil::platform;

namespace replay {

namespace {

struct Constant {
  std::string_view name;
  const std::string_view* value;  // read when it is needed, because a host may define its own
};

constexpr Constant recordKeys[] = {
    {"kTWEventUniqueID", &kTWEventUniqueID},
    {"kTWEventName", &kTWEventName},
    {"kTWEventEnabled", &kTWEventEnabled},
    {"kTWEventDomain", &kTWEventDomain},
    {"kTWDomainUniqueID", &kTWDomainUniqueID},
    {"kTWDomainName", &kTWDomainName},
    {"kTWDomainType", &kTWDomainType},
    {"kTWQueuedTriggerTriggerID", &kTWQueuedTriggerTriggerID},
    {"kTWQueuedTriggerEvent", &kTWQueuedTriggerEvent},
    {"kTWQueuedTriggerTrigger", &kTWQueuedTriggerTrigger},
    {"kTWTriggerDate", &kTWTriggerDate},
    {"kTWActiveEventActiveID", &kTWActiveEventActiveID},
    {"kTWActiveEventActivity", &kTWActiveEventActivity},
    {"kTWActiveEventEvent", &kTWActiveEventEvent},
};

constexpr Constant strings[] = {
    {"kTWDomainType_Engine", &kTWDomainType_Engine},
    {"kTWWorkspaceUTIEvent", &kTWWorkspaceUTIEvent},
    {"kTWWorkspaceUTISchedule", &kTWWorkspaceUTISchedule},
    {"kTWWorkspaceFileExtensionSchedule", &kTWWorkspaceFileExtensionSchedule},
    {"kUTTypeFileURL", &platform::kUTTypeFileURL},
    {"NSPasteboardTypeString", &platform::NSPasteboardTypeString},
};

std::string_view valueIn(std::span<const Constant> constants, std::string_view name) noexcept {
  for (const Constant& constant : constants) {
    if (constant.name == name) {
      return *constant.value;
    }
  }
  return name;
}

std::string_view nameIn(std::span<const Constant> constants, std::string_view value) noexcept {
  for (const Constant& constant : constants) {
    if (*constant.value == value) {
      return constant.name;
    }
  }
  return value;
}

}  // namespace

std::string_view recordKeyNamed(std::string_view name) noexcept {
  return valueIn(recordKeys, name);
}

std::string_view nameOfRecordKey(std::string_view key) noexcept {
  return nameIn(recordKeys, key);
}

std::string_view stringNamed(std::string_view name) noexcept {
  return valueIn(strings, name);
}

std::string_view nameOfString(std::string_view string) noexcept {
  return nameIn(strings, string);
}

}  // namespace replay
