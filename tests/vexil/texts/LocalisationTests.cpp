// SPDX-License-Identifier: Apache-2.0
// The texts that the library brings, in every language that it speaks.
#include <gtest/gtest.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/Bundle.h>
#include <vexil/platform/StringsTable.h>
#include <vexil/texts/EmbeddedStrings.h>

#include <algorithm>
#include <set>
#include <string>

namespace platform = vexil::platform;

namespace {

using platform::StringsTable;
using platform::Value;

std::set<std::string> languages() {
  std::set<std::string> tags;
  for (const platform::EmbeddedStrings& strings : vexil::detail::embeddedStrings()) {
    tags.emplace(strings.language);
  }
  return tags;
}

StringsTable tableOf(std::string_view language) {
  const auto embedded = vexil::detail::embeddedStrings();
  const auto strings = std::ranges::find(embedded, language, &platform::EmbeddedStrings::language);
  auto table = StringsTable::read(std::as_bytes(std::span(strings->contents)));
  EXPECT_TRUE(table) << language;
  return *std::move(table);
}

std::size_t placeholdersIn(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t at = text.find("%@"); at != std::string_view::npos;
       at = text.find("%@", at + 2)) {
    ++count;
  }
  return count;
}

std::string labelsOfGroups(const std::string& language) {
  platform::setPreferredLanguage(language);
  const auto engine = std::make_shared<KRAVTWVEngineVexil>();
  platform::setPreferredLanguage({});
  std::string labels;
  for (const auto& group : *engine->root()->children()) {
    labels += group->label().displayText() + ";";
  }
  return labels;
}

TEST(Localisation, SpeaksSixLanguages) {
  EXPECT_EQ(languages(), (std::set<std::string>{"de", "en", "es", "fr", "ja", "zh"}));
}

TEST(Localisation, HasTheTextsThatTheLibraryLooksUp) {
  const StringsTable english = tableOf("en");
  for (const char* key : {"engine.scheduler.active", "engine.ondemand.available",
                          "engine.scheduler.pending", "today.%@", "tomorrow.%@"}) {
    EXPECT_TRUE(english.find(key)) << key;
  }
}

TEST(Localisation, HasEveryTextInEveryLanguageAndNoOther) {
  const StringsTable english = tableOf("en");
  for (const std::string& language : languages()) {
    const StringsTable table = tableOf(language);
    EXPECT_EQ(table.size(), english.size()) << language;
    for (const platform::Key& key : english.keys()) {
      const auto text = table.find(key.text());
      ASSERT_TRUE(text) << language << ": " << key.text();
      EXPECT_FALSE(text->empty()) << language << ": " << key.text();
    }
  }
}

TEST(Localisation, KeepsTheOnePlaceholderOfAFormat) {
  for (const std::string& language : languages()) {
    const StringsTable table = tableOf(language);
    for (const platform::Key& key : table.keys()) {
      EXPECT_EQ(placeholdersIn(*table.find(key.text())), placeholdersIn(key.text()))
          << language << ": " << key.text();
      EXPECT_LE(placeholdersIn(key.text()), 1U) << key.text();
    }
  }
}

TEST(Localisation, FollowsTheLanguageWithItsRegionLeftOut) {
  EXPECT_EQ(labelsOfGroups("de-DE"), "L\u00e4uft;Auf Abruf;Anstehend;");
  EXPECT_EQ(labelsOfGroups("fr"), "En cours;\u00c0 la demande;En attente;");
  EXPECT_EQ(labelsOfGroups("zh-CN"), "\u6b63\u5728\u8fd0\u884c;\u6309\u9700;\u7b49\u5f85\u4e2d;");
}

TEST(Localisation, IsEnglishForALanguageThatItDoesNotSpeak) {
  EXPECT_EQ(labelsOfGroups("xx"), "Running;On Demand;Pending;");
  EXPECT_EQ(labelsOfGroups("xx-DE"), "Running;On Demand;Pending;");
}

}  // namespace
