// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/DateFormatter.h>
#include <vexil/platform/Value.h>
#include <vexil/platform/ValueTransformer.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

/// Turns a date into text for people who look at it today: "Today, 2:42 PM", "Tomorrow, 12:00 AM",
/// and "1/31/26, 2:42 PM" for any other day, be it before or after.
///
///     const auto dates = std::make_shared<KRAVTWVRelativeDateTransformer>();
///     dates->transformedValue(trigger->triggerDate());   // a string
///     dates->validUntil(*trigger->triggerDate().date()); // when to ask again
///
/// What is today is asked of the user's calendar and time zone
/// (`vexil::platform::Calendar::current`) and of the current instant
/// (`vexil::platform::currentDate`) at each call. The words around the time stand in the strings
/// table under "today.%@" and "tomorrow.%@", that of the module which holds the receiver's own
/// class; a key without a text is the text itself ("today.14:42").
///
/// It works in one direction only. Each call sets the date style of the formatter that it has, so a
/// transformer belongs to one thread at a time. It registers itself nowhere: a host that looks
/// transformers up by name keeps them under names of its own.
class KRAVTWVRelativeDateTransformer : public vexil::platform::ValueTransformer {
 public:
  /// What stands for a day that is neither today nor tomorrow.
  static constexpr std::int32_t neither = std::numeric_limits<std::int32_t>::max();

  /// With a formatter of its own, which has behaviour 1040 and the short time style.
  KRAVTWVRelativeDateTransformer();
  ~KRAVTWVRelativeDateTransformer() override;

  /// What writes date and time. It may be replaced, or set to another locale, zone or time style;
  /// its date style is set by every transformation: short for a date that is neither today's nor
  /// tomorrow's, else none. Setting it is announced under "dateFormatter". Without one there is no
  /// time to show: a date of today or tomorrow has "(null)" in its place, another is empty.
  ///
  /// A formatter that is pinned to a time zone shows the time there; which day is today is a
  /// question of the user's zone still.
  [[nodiscard]] std::shared_ptr<vexil::platform::DateFormatter> dateFormatter() const {
    return read(_dateFormatter);
  }
  void setDateFormatter(std::shared_ptr<vexil::platform::DateFormatter> dateFormatter);

  /// How many days ahead the day of `date` is: 0 today, 1 tomorrow, `neither` for all others and
  /// for what is no instant (NaN and the infinities).
  ///
  /// A class operation that a subclass may replace; the answer must depend on the class, the date
  /// and the time it is. Days are those of the calendar, whatever number of hours they have. The
  /// current instant is read twice, first to compare with tomorrow and then with today, the
  /// calendar once, before; should midnight pass in between, the later reading counts.
  [[nodiscard]] virtual std::int32_t relativeDaysAway(vexil::platform::Date date) const;

  /// The next instant at which `relativeDaysAway` of `date`, and so its text, becomes another:
  /// usually the midnight at which its day begins to be tomorrow, then to be today, then to be
  /// past. Absent when it stays as it is for good. A view shows what it has until then.
  ///
  /// It knows the days that this class tells apart. A subclass that replaces `relativeDaysAway` by
  /// another rule replaces this, too; `vexil::platform::Calendar::endOfDay` tells when to look
  /// again.
  [[nodiscard]] virtual std::optional<vexil::platform::Date> validUntil(
      vexil::platform::Date date) const;

  /// Strings.
  [[nodiscard]] vexil::platform::Value::Kind transformedValueClass() const override {
    return vexil::platform::Value::Kind::string;
  }

  /// No: of "Tomorrow, 2:42 PM" the day is known for a day only.
  [[nodiscard]] bool allowsReverseTransformation() const override { return false; }

  /// The text of a date; the empty string for everything else, also for absent. Never absent. A
  /// date that no calendar reaches (`vexil::platform::DateFormatter`) is empty, too.
  [[nodiscard]] vexil::platform::Value transformedValue(
      const vexil::platform::Value& value) const override;

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;

 private:
  void setDateFormatterValue(const vexil::platform::Value& dateFormatter);
  std::shared_ptr<vexil::platform::DateFormatter> _dateFormatter;
};
