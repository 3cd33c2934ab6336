// SPDX-License-Identifier: Apache-2.0
#include <vexil/order/EventOrderArrangement.h>

#include <algorithm>
#include <utility>

namespace vexil::detail {

using platform::Value;

bool EventOrder::Arrangement::run() {
  sortNewcomers();
  findStaying();
  const std::size_t count = _staying.size() + _search.newcomers.size();
  if (!RecordAddress::reaches(count)) {
    return false;
  }
  sorted.emplace(count);
  origins.reserve(count);
  newPlaces.resize(_search.originsByPlace.size(), PlaceTable::nowhere);
  const Value* last = nullptr;
  for (Search::Newcomer& newcomer : _search.newcomers) {
    const Value& record = *newcomer.record;
    const auto end = firstStayingNotBefore(record);
    if ((last != nullptr && !comesBefore(*last, record)) ||
        (end != _staying.end() && !comesBefore(record, _byPlace[*end]))) {
      return false;
    }
    takeStayingUpTo(end);
    take(newcomer);
    last = &record;
  }
  takeStayingUpTo(_staying.end());
  return true;
}

void EventOrder::Arrangement::sortNewcomers() {
  std::ranges::sort(_search.newcomers, [&](const auto& a, const auto& b) {
    return comesBefore(*a.record, *b.record);
  });
}

void EventOrder::Arrangement::findStaying() {
  const Place count = static_cast<Place>(_search.originsByPlace.size());
  _staying.reserve(count);
  for (Place place = 0; place < count; ++place) {
    if (!_byPlace[place].isAbsent()) {
      _staying.push_back(place);
    }
  }
  _next = _staying.begin();
}

EventOrder::Arrangement::Staying::const_iterator EventOrder::Arrangement::firstStayingNotBefore(
    const Value& record) {
  return std::lower_bound(_next, _staying.cend(), record, [&](Place place, const Value& other) {
    return comesBefore(_byPlace[place], other);
  });
}

void EventOrder::Arrangement::takeStayingUpTo(Staying::const_iterator end) {
  for (; _next != end; ++_next) {
    const Place place = static_cast<Place>(origins.size());
    sorted->set(place, _byPlace.take(*_next));
    origins.push_back(_search.originsByPlace[*_next]);
    newPlaces[*_next] = place;
  }
}

void EventOrder::Arrangement::take(Search::Newcomer& newcomer) {
  newcomer.place = static_cast<Place>(origins.size());
  sorted->set(newcomer.place, *newcomer.record);
  newcomer.record->noteHint(newcomer.place);
  origins.push_back(newcomer.origin);
  if (newcomer.origin != PlaceTable::nowhere) {
    newPlaces[newcomer.origin & EventLineage::placeBits] = newcomer.place;
  }
}

}  // namespace vexil::detail
