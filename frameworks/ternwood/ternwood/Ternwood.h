// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

/// The constants of the host engine library that the presentation library reads.
///
/// They are declared here and belong to the host. The library `ternwood` next to this header
/// defines a stand-in for each, as a weak symbol. Except for the type identifiers and the file
/// extension, the value of a stand-in is the constant's own name, so that a schedule file reads the
/// same everywhere. A host that defines
///
///     const std::string_view kTWEventName = "com.example.event.name";
///
/// in an object file of its own replaces that stand-in, and the presentation library uses the
/// host's constant. All of them are constant-initialised, so other static objects can use them.

// Keys of an event record.
extern const std::string_view kTWEventUniqueID;  ///< string: tells events apart
extern const std::string_view kTWEventName;      ///< string: shown, and sorted by
extern const std::string_view kTWEventEnabled;   ///< boolean or number
extern const std::string_view kTWEventDomain;    ///< string: the unique ID of the event's domain

// Keys of a domain record.
extern const std::string_view kTWDomainUniqueID;  ///< string
extern const std::string_view kTWDomainName;      ///< string: shown, translated when known
extern const std::string_view kTWDomainType;      ///< compared with kTWDomainType_Engine

/// The type of the engine's own domain, which is not shown.
extern const std::string_view kTWDomainType_Engine;

// Keys of a queued trigger record, and of the trigger record in it.
extern const std::string_view kTWQueuedTriggerTriggerID;  ///< string
extern const std::string_view kTWQueuedTriggerEvent;      ///< the event record to be run
extern const std::string_view kTWQueuedTriggerTrigger;    ///< a trigger record
extern const std::string_view kTWTriggerDate;             ///< date: when it fires

// Keys of an active event record.
extern const std::string_view kTWActiveEventActiveID;  ///< string
extern const std::string_view kTWActiveEventActivity;  ///< anything; passed on unchanged
extern const std::string_view kTWActiveEventEvent;     ///< the event record that runs

// For the exchange of events: the type identifiers of one event and of a schedule (an array of
// events), and the extension of schedule files.
extern const std::string_view kTWWorkspaceUTIEvent;
extern const std::string_view kTWWorkspaceUTISchedule;
extern const std::string_view kTWWorkspaceFileExtensionSchedule;
