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
/// and "1/31/26, 2:42 PM" for any other day, past or future.
///
///     const auto dates = std::make_shared<KRAVTWVRelativeDateTransformer>();
///     dates->transformedValue(trigger->triggerDate());   // a string
///     dates->validUntil(*trigger->triggerDate().date()); // when to ask again
///
/// At each call it reads the user's calendar and time zone (`vexil::platform::Calendar::current`)
/// and the current instant (`vexil::platform::currentDate`) to know what is today. The words around
/// the time come from the strings tables of the module that holds the receiver's own class, under
/// "today.%@" and "tomorrow.%@". A key without a text is the text itself ("today.14:42").
///
/// It works in one direction only. Each call sets the date style of its formatter, so a transformer
/// belongs to one thread at a time. It does not register itself under a name: a host that looks
/// transformers up by name must keep them itself.
class KRAVTWVRelativeDateTransformer : public vexil::platform::ValueTransformer {
 public:
  /// Means a day that is neither today nor tomorrow.
  static constexpr std::int32_t neither = std::numeric_limits<std::int32_t>::max();

  /// Makes a transformer with its own formatter, which has behaviour 1040 and the short time style.
  KRAVTWVRelativeDateTransformer();
  ~KRAVTWVRelativeDateTransformer() override;

  /// The formatter that writes date and time. A host may replace it, or set its locale, zone or
  /// time style. Every transformation sets its date style: none for a date today or tomorrow,
  /// otherwise short. Setting the formatter is announced under "dateFormatter". It may be absent:
  /// then a date today or tomorrow has "(null)" in place of the time, and any other is the empty
  /// string.
  ///
  /// A formatter that has its own time zone shows the time there. Which day is today still depends
  /// on the user's zone.
  [[nodiscard]] std::shared_ptr<vexil::platform::DateFormatter> dateFormatter() const {
    return read(_dateFormatter);
  }
  void setDateFormatter(std::shared_ptr<vexil::platform::DateFormatter> dateFormatter);

  /// Returns how many days ahead the day of `date` is: 0 for today, 1 for tomorrow, `neither` for
  /// all other days and for what is no instant (NaN and the infinities).
  ///
  /// A class operation that a subclass may replace. The answer must depend on the class, the date
  /// and the current time alone. Days are calendar days, however many hours they have. It reads the
  /// calendar once. Then it reads the current instant to compare with tomorrow, and again to
  /// compare with today. If midnight passes in between, the later reading counts.
  [[nodiscard]] virtual std::int32_t relativeDaysAway(vexil::platform::Date date) const;

  /// Returns the next instant at which `relativeDaysAway` of `date`, and so its text, changes. That
  /// is usually the midnight at which its day becomes tomorrow, then today, then past. Absent when
  /// it changes no more. A view can show the text that it has until then.
  ///
  /// A subclass that replaces `relativeDaysAway` by another rule must replace this, too.
  /// `vexil::platform::Calendar::endOfDay` tells when to look again.
  [[nodiscard]] virtual std::optional<vexil::platform::Date> validUntil(
      vexil::platform::Date date) const;

  /// Returns the kind of strings.
  [[nodiscard]] vexil::platform::Value::Kind transformedValueClass() const override {
    return vexil::platform::Value::Kind::string;
  }

  /// Returns false, because "Tomorrow, 2:42 PM" means another date each day.
  [[nodiscard]] bool allowsReverseTransformation() const override { return false; }

  /// Returns the text of a date. Returns the empty string for everything else, also for an absent
  /// value and for a date that no calendar reaches (`vexil::platform::DateFormatter`). The result
  /// is never absent.
  [[nodiscard]] vexil::platform::Value transformedValue(
      const vexil::platform::Value& value) const override;

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;

 private:
  void setDateFormatterValue(const vexil::platform::Value& dateFormatter);
  std::shared_ptr<vexil::platform::DateFormatter> _dateFormatter;
};
