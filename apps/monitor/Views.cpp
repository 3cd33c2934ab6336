// SPDX-License-Identifier: Apache-2.0
#include "monitor/Views.h"

namespace monitor {

namespace {

using vexil::OutlineStep;

ViewWork::Part& partOf(ViewWork& work, OutlineStep::Kind kind) {
  switch (kind) {
    case OutlineStep::Kind::inserted:
      return work.inserted;
    case OutlineStep::Kind::removed:
      return work.removed;
    case OutlineStep::Kind::moved:
      return work.moved;
    case OutlineStep::Kind::changed:
      break;
  }
  return work.changed;
}

}  // namespace

void ViewWork::add(const vexil::OutlineUpdate& update) {
  for (const OutlineStep& step : update.steps()) {
    Part& part = partOf(*this, step.kind);
    ++part.steps;
    part.rows += step.rowCount;
  }
  rowsAnew += update.rowsAfterwards();
}

Views::Views(const Collections& collections)
    : _events(collections.events), _engine(collections.engine), _services(collections.services) {}

void Views::update(ViewWork& work) {
  for (vexil::Outline* const outline : {&_events, &_engine, &_services}) {
    work.add(outline->update());
  }
}

std::size_t Views::rowCount() const {
  return _events.rowCount() + _engine.rowCount() + _services.rowCount();
}

}  // namespace monitor
