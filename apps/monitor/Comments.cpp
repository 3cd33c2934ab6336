// SPDX-License-Identifier: Apache-2.0
#include "monitor/Comments.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "monitor/Text.h"

namespace monitor {

namespace {

constexpr std::array<std::string_view, 27> kColumns = {
    "m",    "mi",   "min",  "minute", "minutes",     "h",   "hr",   "hour",         "hours",
    "dom",  "mday", "day",  "month",  "mon",         "moy", "dow",  "wday",         "week",
    "user", "who",  "name", "cmd",    "day-of-week", "of",  "task", "day-of-month", "weekday",
};

constexpr std::array<std::string_view, 62> kLittleWords = {
    "a",     "an",   "the",  "this", "that",   "these",   "those", "it",   "its",  "is",   "are",
    "was",   "were", "be",   "been", "being",  "to",      "of",    "at",   "on",   "in",   "for",
    "from",  "with", "by",   "and",  "or",     "as",      "not",   "no",   "will", "can",  "would",
    "could", "may",  "must", "if",   "should", "when",    "while", "then", "than", "mean", "means",
    "every", "each", "once", "only", "same",   "you",     "we",    "they", "he",   "she",  "runs",
    "but",   "so",   "see",  "note", "please", "because", "until"};

constexpr std::array<std::string_view, 4> kFreeText = {"echo", "printf", "logger", "wall"};
constexpr std::array<std::string_view, 5> kShellWords = {"if", "for", "while", "until", "case"};

template <std::size_t Size>
bool contains(const std::array<std::string_view, Size>& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

bool isBoxDrawing(std::string_view text) {
  // U+2500 to U+257F are E2 94 80 to E2 95 BF.
  return text.starts_with("\xE2\x94") || text.starts_with("\xE2\x95");
}

std::string_view withoutPunctuation(std::string_view word) {
  constexpr std::string_view kAround = "()[]<>{}.,:;!?|'\"";
  const std::size_t begin = word.find_first_not_of(kAround);
  if (begin == std::string_view::npos) {
    return {};
  }
  return word.substr(begin, word.find_last_not_of(kAround) - begin + 1);
}

bool isShell(std::string_view word) {
  if (word.find_first_of("/|<>&;$\"`=\\~") != std::string_view::npos || word.front() == '\'') {
    return true;
  }
  return word.size() > 1 && word[0] == '-' &&
         (isLetter(word[1]) || isDigit(word[1]) || word[1] == '-');
}

bool endsLikeSentence(std::string_view word) {
  return word.size() > 1 && isLetter(word[word.size() - 2]) &&
         std::string_view(".,:!?").find(word.back()) != std::string_view::npos;
}

}  // namespace

std::string_view commentText(std::string_view line) {
  while (!line.empty() && (isBlank(line.front()) || line.front() == '#')) {
    line.remove_prefix(1);
  }
  line = trimmed(line);
  const std::size_t last = line.find_last_not_of('#');
  if (last != std::string_view::npos && isBlank(line[last])) {
    line = trimmed(line.substr(0, last));
  }
  return line;
}

bool saysNothing(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isLetter(text[i]) || isDigit(text[i])) {
      return false;
    }
    if (static_cast<unsigned char>(text[i]) < 0x80) {
      continue;
    }
    // People also draw lines with dashes and bullets (U+2010 to U+203F).
    const std::string_view rest = text.substr(i);
    if (!isBoxDrawing(rest) && !rest.starts_with("\xE2\x80")) {
      return false;
    }
    i += 2;
  }
  return true;
}

bool isDrawing(std::string_view text) {
  return text.starts_with('|') || text.starts_with(".-") || text.starts_with("+-") ||
         text.starts_with("`-") || isBoxDrawing(text);
}

bool isHeading(std::string_view text) {
  std::size_t count = 0;
  for (std::string_view word = takeWord(text); !word.empty(); word = takeWord(text)) {
    const std::string name = lowercased(withoutPunctuation(word));
    if (!name.empty() && !contains(kColumns, name) && !isPlaceholder(word)) {
      return false;
    }
    ++count;
  }
  return count >= 5;
}

bool announcesExample(std::string_view text) {
  const bool announcesSomething = text.ends_with(':');
  std::string before;
  for (std::string_view word = takeWord(text); !word.empty(); word = takeWord(text)) {
    std::string name = lowercased(withoutPunctuation(word));
    const bool isExample = name == "example" || name == "examples";
    if (name == "e.g" || (isExample && (announcesSomething || before.empty() || before == "for"))) {
      return true;
    }
    before = std::move(name);
  }
  return false;
}

bool isPlaceholder(std::string_view text) {
  const std::string_view word = takeWord(text);
  // "command(s)" counts as "command".
  const std::string name = lowercased(withoutPunctuation(word.substr(0, word.find("(s)"))));
  if (name == "user-name" || name == "username" || name == "user_name" || word.starts_with('<')) {
    return true;
  }
  if (name == "commands" || name.starts_with("command-") || name.starts_with("command_")) {
    return true;
  }
  return name == "command" && !takeWord(text).starts_with('-');
}

bool readsLikeCommand(std::string_view text) {
  std::string_view rest = text;
  const std::string_view first = takeWord(rest);
  if (first.empty()) {
    return false;
  }
  const char begin = first.front();
  if (!isLetter(begin) && !isDigit(begin) &&
      std::string_view("/.~$[({\\:_'\"`").find(begin) == std::string_view::npos) {
    return false;
  }
  const bool alone = trimmed(rest).empty();
  if (contains(kFreeText, first)) {
    return true;
  }
  if (contains(kShellWords, first)) {
    return text.find(';') != std::string_view::npos;
  }

  std::string_view last;
  for (rest = text; !trimmed(rest).empty();) {
    last = takeWord(rest);
    if (isShell(last)) {
      return true;
    }
    if (!alone && contains(kLittleWords, lowercased(withoutPunctuation(last)))) {
      return false;
    }
  }
  const bool bracket = begin == '(' || begin == '[' || begin == '{';
  return !bracket && !endsLikeSentence(last);
}

std::string nameFrom(std::string_view text) {
  return singleSpaced(text);
}

}  // namespace monitor
