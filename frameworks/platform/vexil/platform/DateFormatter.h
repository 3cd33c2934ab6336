// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Object.h>
#include <vexil/platform/Value.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace vexil::platform {

/// How much of a date, or of a time of day, is written: from "1/31/26" to "Saturday, January 31,
/// 2026", and from "2:42 PM" to the same with seconds and the name of the zone.
enum class FormatStyle : int {
  none = 0,
  shortStyle = 1,
  mediumStyle = 2,
  longStyle = 3,
  fullStyle = 4,
};

/// Which rules a formatter goes by. Formatters have but one set of them, so both format alike.
enum class FormatterBehavior : int {
  standard = 0,
  styles = 1040,  ///< date and time each by a style
};

/// Writes dates for people, in the words and order of a locale and by the clocks of a time zone, as
/// ICU's locale data (CLDR) have them.
///
///     auto formatter = std::make_shared<DateFormatter>();
///     formatter->setTimeStyle(FormatStyle::shortStyle);
///     formatter->stringFromDate(currentDate());   // "2:42 PM", "14:42"
///
/// Locale and zone are the user's at the time of each call, which are ICU's defaults, unless they
/// are pinned. A locale that prefers another calendar than the Gregorian one has dates written in
/// that.
///
/// Each property is atomic, and formatting goes by all of them as they are at one moment. Setting
/// one is not announced.
class DateFormatter : public Object {
 public:
  DateFormatter();
  ~DateFormatter() override;

  /// How the day is written; not at all at first.
  [[nodiscard]] FormatStyle dateStyle() const { return settings().dateStyle; }
  void setDateStyle(FormatStyle style);

  /// How the time of day is written; not at all at first.
  [[nodiscard]] FormatStyle timeStyle() const { return settings().timeStyle; }
  void setTimeStyle(FormatStyle style);

  [[nodiscard]] FormatterBehavior formatterBehavior() const { return settings().behavior; }
  void setFormatterBehavior(FormatterBehavior behavior);

  /// The locale it is pinned to, as ICU or BCP 47 write it ("de_AT", "th-TH-u-ca-gregory"); empty
  /// where it follows the user's. Any text may be set and is kept. A text that ICU can make no
  /// locale or no format of ("German (Germany)", "de@calendar=") writes as the root locale does; so
  /// does a user's locale of that kind.
  [[nodiscard]] std::string localeIdentifier() const { return settings().locale; }
  void setLocaleIdentifier(std::string identifier);

  /// The zone it is pinned to, by its name in the tz database ("Europe/Berlin"); empty where it
  /// follows the user's. Throws `InvalidArgument` for a name that no zone has.
  [[nodiscard]] std::string timeZoneName() const { return settings().timeZone; }
  void setTimeZoneName(std::string name);

  /// The date in the words of the locale, the day in front of the time or where the locale has it.
  /// An empty text without either style. Nothing for NaN, for infinities and beyond 100,000 years
  /// from now, where no calendar reaches.
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
  std::unique_ptr<Formats> _formats;  ///< made when needed, for the styles that were used
};

}  // namespace vexil::platform
