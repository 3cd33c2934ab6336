// SPDX-License-Identifier: Apache-2.0
// The items of every tree, and their kinds. The class KRAVTWV<Name>Vexil stands in kinds/<Name>.h.
//
//     KRAVTWVItemVexil                any represented object
//       KRAVTWVGroupVexil             a bare label, always a group
//         KRAVTWVNetDomainVexil       a network domain, by its name
//       KRAVTWVEventVexil             an event record
//         KRAVTWVOnDemandVexil        an event to be run on demand
//       KRAVTWVDomainVexil            a domain record
//       KRAVTWVQueuedTriggerVexil     a queued trigger record: an event, and when it fires
//       KRAVTWVActiveEventVexil       the record of a running event
//       KRAVTWVNetServiceVexil        a network service
//
// A kind stores nothing that it can read from its represented object: it reads derived values at
// each call. Its observers get a notice of them when the represented object is replaced. Setting a
// stored identifier or label has no effect on a kind that derives it. A key that is missing from a
// record reads as absent. So does every key where the represented object is no record.
//
// A host derives its own kinds with `KRAVTWVKind`. `KRAVTWVItemVexil`, in kinds/Item.h, is the
// manual of all: what is announced, who owns whom, how a fresh list is merged.
#pragma once

#include <vexil/kinds/ActiveEvent.h>
#include <vexil/kinds/Domain.h>
#include <vexil/kinds/Event.h>
#include <vexil/kinds/EventRepresenting.h>
#include <vexil/kinds/Group.h>
#include <vexil/kinds/Item.h>
#include <vexil/kinds/Kind.h>
#include <vexil/kinds/NetDomain.h>
#include <vexil/kinds/NetService.h>
#include <vexil/kinds/OnDemand.h>
#include <vexil/kinds/QueuedTrigger.h>
