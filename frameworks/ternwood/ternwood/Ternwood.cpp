// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>

// Each constant is weak by itself, so that a host can replace as many of them as it likes. The
// attribute stands on a separate declaration because GCC refuses it on the definition of a
// constant.

[[gnu::weak]] extern const std::string_view kTWEventUniqueID;
constinit const std::string_view kTWEventUniqueID = "kTWEventUniqueID";
[[gnu::weak]] extern const std::string_view kTWEventName;
constinit const std::string_view kTWEventName = "kTWEventName";
[[gnu::weak]] extern const std::string_view kTWEventEnabled;
constinit const std::string_view kTWEventEnabled = "kTWEventEnabled";
[[gnu::weak]] extern const std::string_view kTWEventDomain;
constinit const std::string_view kTWEventDomain = "kTWEventDomain";
[[gnu::weak]] extern const std::string_view kTWDomainUniqueID;
constinit const std::string_view kTWDomainUniqueID = "kTWDomainUniqueID";
[[gnu::weak]] extern const std::string_view kTWDomainName;
constinit const std::string_view kTWDomainName = "kTWDomainName";
[[gnu::weak]] extern const std::string_view kTWDomainType;
constinit const std::string_view kTWDomainType = "kTWDomainType";
[[gnu::weak]] extern const std::string_view kTWDomainType_Engine;
constinit const std::string_view kTWDomainType_Engine = "kTWDomainType_Engine";
[[gnu::weak]] extern const std::string_view kTWQueuedTriggerTriggerID;
constinit const std::string_view kTWQueuedTriggerTriggerID = "kTWQueuedTriggerTriggerID";
[[gnu::weak]] extern const std::string_view kTWQueuedTriggerEvent;
constinit const std::string_view kTWQueuedTriggerEvent = "kTWQueuedTriggerEvent";
[[gnu::weak]] extern const std::string_view kTWQueuedTriggerTrigger;
constinit const std::string_view kTWQueuedTriggerTrigger = "kTWQueuedTriggerTrigger";
[[gnu::weak]] extern const std::string_view kTWTriggerDate;
constinit const std::string_view kTWTriggerDate = "kTWTriggerDate";
[[gnu::weak]] extern const std::string_view kTWActiveEventActiveID;
constinit const std::string_view kTWActiveEventActiveID = "kTWActiveEventActiveID";
[[gnu::weak]] extern const std::string_view kTWActiveEventActivity;
constinit const std::string_view kTWActiveEventActivity = "kTWActiveEventActivity";
[[gnu::weak]] extern const std::string_view kTWActiveEventEvent;
constinit const std::string_view kTWActiveEventEvent = "kTWActiveEventEvent";

// These values must not collide with the types of other programs on a pasteboard, so they are not
// their own names.
[[gnu::weak]] extern const std::string_view kTWWorkspaceUTIEvent;
constinit const std::string_view kTWWorkspaceUTIEvent = "org.ternwood.event";
[[gnu::weak]] extern const std::string_view kTWWorkspaceUTISchedule;
constinit const std::string_view kTWWorkspaceUTISchedule = "org.ternwood.schedule";
[[gnu::weak]] extern const std::string_view kTWWorkspaceFileExtensionSchedule;
constinit const std::string_view kTWWorkspaceFileExtensionSchedule = "twschedule";
