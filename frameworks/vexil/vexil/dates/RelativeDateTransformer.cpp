// SPDX-License-Identifier: Apache-2.0
#include <vexil/KRAVTWVRelativeDateTransformer.h>
#include <vexil/platform/Bundle.h>
#include <vexil/platform/Calendar.h>
#include <vexil/platform/Clock.h>
#include <vexil/platform/Error.h>
#include <vexil/texts/EmbeddedStrings.h>  // registers the tables

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace platform = vexil::platform;

using platform::Calendar;
using platform::Date;
using platform::DateFormatter;
using platform::FormatStyle;
using platform::Key;
using platform::KeyAccess;
using platform::Value;

namespace {

const Key& dateFormatterKey() {
  static const Key key("dateFormatter");
  return key;
}

/// Whether the day that begins at `start` is `days` days after the day of `now`.
bool isDaysAfter(const Calendar& calendar, std::optional<Date> start, Date now, int days) {
  const auto candidate = calendar.startOfDay(now, days);
  return start && candidate && candidate->seconds == start->seconds;
}

/// How many days ahead the day that begins at `start` is: 0, 1 or `neither`. Reads `now` to compare
/// with tomorrow, and again to compare with today. If midnight passes in between, both may hold,
/// and then the second counts.
template <class Now>
std::int32_t daysAhead(const Calendar& calendar, std::optional<Date> start, const Now& now) {
  std::int32_t ahead = KRAVTWVRelativeDateTransformer::neither;
  for (const int days : {1, 0}) {
    if (isDaysAfter(calendar, start, now(), days)) {
      ahead = days;
    }
  }
  return ahead;
}

/// Returns `format` with `text` instead of the first placeholder.
std::string filled(std::string format, std::string_view text) {
  constexpr std::string_view placeholder = "%@";
  if (const std::size_t at = format.find(placeholder); at != std::string::npos) {
    format.replace(at, placeholder.size(), text);
  }
  return format;
}

}  // namespace

KRAVTWVRelativeDateTransformer::KRAVTWVRelativeDateTransformer()
    : _dateFormatter(std::make_shared<DateFormatter>()) {
  _dateFormatter->setFormatterBehavior(platform::FormatterBehavior::styles);
  _dateFormatter->setTimeStyle(FormatStyle::shortStyle);
}

KRAVTWVRelativeDateTransformer::~KRAVTWVRelativeDateTransformer() = default;

void KRAVTWVRelativeDateTransformer::setDateFormatter(
    std::shared_ptr<DateFormatter> dateFormatter) {
  assign(dateFormatterKey(), _dateFormatter, std::move(dateFormatter));
}

void KRAVTWVRelativeDateTransformer::setDateFormatterValue(const Value& dateFormatter) {
  auto formatter = std::dynamic_pointer_cast<DateFormatter>(dateFormatter.object());
  if (!formatter && !dateFormatter.isAbsent()) {
    throw platform::InvalidArgument("not a date formatter: " + dateFormatter.description());
  }
  setDateFormatter(std::move(formatter));
}

const platform::KeyTable& KRAVTWVRelativeDateTransformer::keyTable() const {
  using Transformer = KRAVTWVRelativeDateTransformer;
  static const platform::KeyTable table(
      nullptr,
      {KeyAccess::readWrite<&Transformer::dateFormatter, &Transformer::setDateFormatterValue>(
          dateFormatterKey())});
  return table;
}

std::int32_t KRAVTWVRelativeDateTransformer::relativeDaysAway(Date date) const {
  const Calendar calendar = Calendar::current();
  const auto start = calendar.startOfDay(date);
  return daysAhead(calendar, start, platform::currentDate);
}

std::optional<Date> KRAVTWVRelativeDateTransformer::validUntil(Date date) const {
  const Calendar calendar = Calendar::current();
  const auto start = calendar.startOfDay(date);
  const Date now = platform::currentDate();
  if (!start || !calendar.components(now)) {
    return std::nullopt;
  }
  // The answer changes only near the day of the date. The days around it are checked one by one,
  // because the next day does not always follow: time zones have skipped a day, and have set their
  // clocks back into the day before.
  constexpr double margin = 4 * 86'400.0;
  const auto daysAheadAt = [&](Date instant) {
    return daysAhead(calendar, start, [instant] { return instant; });
  };
  const std::int32_t ahead = daysAheadAt(now);
  std::optional<Date> next(Date{std::max(now.seconds, start->seconds - margin)});
  while (next && next->seconds < start->seconds + margin) {
    next = calendar.endOfDay(*next);
    if (next && daysAheadAt(*next) != ahead) {
      return next;
    }
  }
  return std::nullopt;
}

Value KRAVTWVRelativeDateTransformer::transformedValue(const Value& value) const {
  const auto self = weak_from_this().lock();  // a host's clock or formatter may let go of it
  const auto date = value.date();
  if (!date) {
    return "";
  }
  const std::int32_t ahead = relativeDaysAway(*date);
  const auto formatter = dateFormatter();
  std::optional<std::string> text;
  if (formatter) {
    formatter->setDateStyle(ahead == neither ? FormatStyle::shortStyle : FormatStyle::none);
    text = formatter->stringFromDate(*date);
  }
  if (ahead != 0 && ahead != 1) {
    return text.value_or("");
  }
  const std::string_view key = ahead == 1 ? "tomorrow.%@" : "today.%@";
  const std::string format = platform::Bundle::forClassOf(*this).localizedString(key, key);
  const std::string shown = text.value_or("(null)");
  return format.empty() ? shown : filled(format, shown);
}
