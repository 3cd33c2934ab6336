// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Object.h>
#include <vexil/platform/Value.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace vexil::platform {

/// How much of a date or a time of day is written: from "1/31/26" to "Saturday, January 31, 2026",
/// and from "2:42 PM" to the same with seconds and the name of the zone.
enum class FormatStyle : int {
  none = 0,
  shortStyle = 1,
  mediumStyle = 2,
  longStyle = 3,
  fullStyle = 4,
};

/// The rules of a formatter. Formatters have only one set of rules, so both format alike.
enum class FormatterBehavior : int {
  standard = 0,
  styles = 1040,  ///< date and time each have a style
};

/// Writes dates for people, with the words and the order of a locale and in the time of a zone.
/// Both come from ICU's locale data (CLDR).
///
///     auto formatter = std::make_shared<DateFormatter>();
///     formatter->setTimeStyle(FormatStyle::shortStyle);
///     formatter->stringFromDate(currentDate());   // "2:42 PM", "14:42"
///
/// Locale and zone are the user's at the time of each call, which are ICU's defaults, unless they
/// were set. When a locale prefers another calendar than the Gregorian one, dates are written in
/// that calendar.
///
/// Each property is atomic, and formatting uses all of them as they are at one moment. Setting a
/// property announces nothing.
class DateFormatter : public Object {
 public:
  DateFormatter();
  ~DateFormatter() override;

  /// How the day is written; `none` at first.
  [[nodiscard]] FormatStyle dateStyle() const { return settings().dateStyle; }
  void setDateStyle(FormatStyle style);

  /// How the time of day is written; `none` at first.
  [[nodiscard]] FormatStyle timeStyle() const { return settings().timeStyle; }
  void setTimeStyle(FormatStyle style);

  [[nodiscard]] FormatterBehavior formatterBehavior() const { return settings().behavior; }
  void setFormatterBehavior(FormatterBehavior behavior);

  /// The locale that was set, in the form of ICU or BCP 47 ("de_AT", "th-TH-u-ca-gregory"); empty
  /// when the formatter follows the user's locale. Any text may be set, and is kept. When ICU has
  /// no locale or no format for a text ("German (Germany)", "de@calendar="), dates are written as
  /// in the root locale. The same holds for such a locale of the user.
  [[nodiscard]] std::string localeIdentifier() const { return settings().locale; }
  void setLocaleIdentifier(std::string identifier);

  /// The zone that was set, by its name in the tz database ("Europe/Berlin"); empty when the
  /// formatter follows the user's zone. The setter throws `InvalidArgument` when no zone has the
  /// name.
  [[nodiscard]] std::string timeZoneName() const { return settings().timeZone; }
  void setTimeZoneName(std::string name);

  /// The date in the words of the locale, with the day in front of the time or where the locale has
  /// it. The text is empty when both styles are `none`. Returns nothing for NaN, infinities and
  /// dates more than 100,000 years from now, which no calendar covers.
  [[nodiscard]] virtual std::optional<std::string> stringFromDate(Date date) const;

 private:
  struct Settings {
    FormatStyle dateStyle = FormatStyle::none;
    FormatStyle timeStyle = FormatStyle::none;
    FormatterBehavior behavior = FormatterBehavior::standard;
    std::string locale;
    std::string timeZone;
  };
  struct Formats;
  [[nodiscard]] Settings settings() const;
  template <class T>
  void set(T Settings::*setting, T value);

  mutable std::mutex _mutex;
  Settings _settings;
  std::unique_ptr<Formats> _formats;  ///< made when a pair of styles is first used
};

}  // namespace vexil::platform
