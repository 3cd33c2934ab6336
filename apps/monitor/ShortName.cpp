// SPDX-License-Identifier: Apache-2.0
#include "monitor/ShortName.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "monitor/Text.h"

namespace monitor {

namespace {

constexpr std::size_t kLongest = 48;
/// Later tokens cannot matter for the name.
constexpr std::size_t kMostTokens = 400;

struct Token {
  bool isOperator = false;
  std::string text;
};

/// Splits a command into operators and words. Words lose their quotes and backslashes.
class Lexer {
 public:
  explicit Lexer(std::string_view text) : _text(text) {}

  std::vector<Token> tokens() {
    while (_at < _text.size() && _tokens.size() < kMostTokens) {
      step();
    }
    endWord();
    return std::move(_tokens);
  }

 private:
  void step() {
    const char c = _text[_at];
    if (isBlank(c)) {
      endWord();
      ++_at;
    } else if (c == '\'' || c == '"') {
      takeQuoted(c);
    } else if (c == '`') {
      takeUntil('`');
    } else if (c == '$' && _text.substr(_at).starts_with("$(")) {
      takeSubstitution();
    } else if (c == '\\' && _at + 1 < _text.size()) {
      _inWord = true;
      _word += _text[_at + 1];
      _at += 2;
    } else if (std::string_view("&|;()<>%").find(c) != std::string_view::npos) {
      takeOperator(c);
    } else {
      _inWord = true;
      _word += c;
      ++_at;
    }
  }

  void takeQuoted(char quote) {
    _inWord = true;
    for (++_at; _at < _text.size() && _text[_at] != quote; ++_at) {
      // cron removes the backslash of "\%" before a shell reads the quotes.
      const bool escapes =
          _text[_at] == '\\' && _at + 1 < _text.size() && (quote == '"' || _text[_at + 1] == '%');
      if (escapes) {
        ++_at;
      }
      _word += _text[_at];
    }
    ++_at;
  }

  void takeUntil(char end) {
    _inWord = true;
    const std::size_t close = std::min(_text.find(end, _at + 1), _text.size() - 1);
    _word += _text.substr(_at, close + 1 - _at);
    _at = close + 1;
  }

  void takeSubstitution() {
    _inWord = true;
    std::size_t depth = 0;
    do {
      const char c = _text[_at++];
      if (c == '(') {
        ++depth;
      } else if (c == ')') {
        --depth;
      }
      _word += c;
    } while (_at < _text.size() && (depth > 0 || _text[_at] == '('));
  }

  void takeOperator(char c) {
    const bool redirects = c == '<' || c == '>';
    if (redirects && std::all_of(_word.begin(), _word.end(), isDigit)) {
      _word.clear();
      _inWord = false;
    }
    endWord();
    std::string text(1, c);
    ++_at;
    while (_at < _text.size() && (_text[_at] == c || (redirects && _text[_at] == '&')) &&
           text.size() < 3 && c != '(' && c != ')') {
      text += _text[_at++];
    }
    _tokens.push_back({true, std::move(text)});
  }

  void endWord() {
    if (_inWord) {
      _tokens.push_back({false, std::move(_word)});
    }
    _word.clear();
    _inWord = false;
  }

  std::string_view _text;
  std::size_t _at = 0;
  std::vector<Token> _tokens;
  std::string _word;
  bool _inWord = false;
};

struct Wrapper {
  std::string_view program;
  /// Letters of the options whose value is the next word.
  std::string_view valued;
  /// How many words, besides options, stand before the wrapped command.
  std::size_t operands;
};

constexpr std::array<Wrapper, 12> kWrappers = {{{"nice", "n", 0},
                                                {"ionice", "cn", 0},
                                                {"timeout", "ks", 1},
                                                {"flock", "wE", 1},
                                                {"sudo", "ug", 0},
                                                {"env", "u", 0},
                                                {"exec", "", 0},
                                                {"nohup", "", 0},
                                                {"setsid", "", 0},
                                                {"time", "", 0},
                                                {"chronic", "", 0},
                                                {"eatmydata", "", 0}}};

/// Commands that are skipped when another one follows.
constexpr std::array<std::string_view, 22> kPreparations = {
    "cd",   "test", "[", "[[",    "command", "which", "type",   "if",  "for",   "while",  "until",
    "exit", "true", ":", "sleep", "export",  ".",     "source", "set", "umask", "ulimit", "case"};
/// Words that only open or join commands.
constexpr std::array<std::string_view, 5> kOpeners = {"{", "!", "then", "do", "else"};
constexpr std::array<std::string_view, 4> kShells = {"sh", "bash", "dash", "zsh"};

template <std::size_t Size>
bool contains(const std::array<std::string_view, Size>& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

std::string_view baseName(std::string_view path) {
  const std::size_t slash = path.find_last_of('/');
  const bool cut = slash != std::string_view::npos && slash + 1 < path.size();
  return cut ? path.substr(slash + 1) : path;
}

bool isAssignment(std::string_view word) {
  const std::size_t equals = word.find('=');
  if (equals == std::string_view::npos || equals == 0 || isDigit(word.front())) {
    return false;
  }
  const std::string_view name = word.substr(0, equals);
  return std::all_of(name.begin(), name.end(),
                     [](char c) { return isLetter(c) || isDigit(c) || c == '_'; });
}

/// Finds the command that matters among the tokens.
class Reader {
 public:
  explicit Reader(std::string_view command) : _tokens(Lexer(command).tokens()) {}

  std::string name() {
    while (_at < _tokens.size()) {
      if (_tokens[_at].isOperator || contains(kOpeners, _tokens[_at].text)) {
        ++_at;
        continue;
      }
      if (passOver()) {
        continue;
      }
      const std::string nested = nestedCommand();
      return nested.empty() ? programAndArgument() : Reader(nested).name();
    }
    return {};
  }

 private:
  /// Where the simple command at `_at` ends.
  [[nodiscard]] std::size_t end() const {
    std::size_t end = _at;
    while (end < _tokens.size() && (!_tokens[end].isOperator || isRedirection(end))) {
      ++end;
    }
    return end;
  }

  [[nodiscard]] bool isRedirection(std::size_t index) const {
    const char c = _tokens[index].text.empty() ? '\0' : _tokens[index].text.front();
    return _tokens[index].isOperator && (c == '<' || c == '>');
  }

  [[nodiscard]] bool anotherFollows(std::size_t end) const {
    if (end >= _tokens.size() || _tokens[end].text == "|" || _tokens[end].text == "%") {
      return false;
    }
    return std::any_of(_tokens.begin() + static_cast<std::ptrdiff_t>(end), _tokens.end(),
                       [](const Token& each) { return !each.isOperator && each.text != "}"; });
  }

  bool passOver() {
    const std::string& word = _tokens[_at].text;
    const std::size_t stop = end();
    if (isAssignment(word) && (_at + 1 < stop || anotherFollows(stop))) {
      ++_at;
      return true;
    }
    if ((contains(kPreparations, word) || isPerlWaiting(stop)) && anotherFollows(stop)) {
      _at = stop;
      return true;
    }
    return passOverWrapper(baseName(word), stop);
  }

  /// Packages wait a random time with perl, because sleep cannot.
  [[nodiscard]] bool isPerlWaiting(std::size_t stop) const {
    return _tokens[_at].text == "perl" && _at + 2 < stop && _tokens[_at + 1].text == "-e" &&
           _tokens[_at + 2].text.starts_with("sleep");
  }

  bool passOverWrapper(std::string_view program, std::size_t stop) {
    const auto wrapper = std::find_if(kWrappers.begin(), kWrappers.end(),
                                      [&](const auto& each) { return each.program == program; });
    if (wrapper == kWrappers.end()) {
      return false;
    }
    std::size_t at = _at + 1;
    std::size_t operands = wrapper->operands;
    for (; at < stop; ++at) {
      const std::string& word = _tokens[at].text;
      if (word.size() > 1 && word.front() == '-') {
        const bool valued = word.size() == 2 && wrapper->valued.find(word[1]) != std::string::npos;
        at += valued ? 1U : 0U;
      } else if (operands > 0) {
        --operands;
      } else {
        break;
      }
    }
    if (at >= stop) {
      return false;
    }
    _at = at;
    return true;
  }

  /// The command that a shell gets as an argument, or a wrapped command that is a single word.
  [[nodiscard]] std::string nestedCommand() const {
    const std::string& word = _tokens[_at].text;
    // Not a substitution: it keeps its marks, so reading it again would find it again without end.
    const bool substituted =
        word.find('`') != std::string::npos || word.find("$(") != std::string::npos;
    if (std::any_of(word.begin(), word.end(), isBlank) && !substituted) {
      return word;
    }
    if (contains(kShells, baseName(word)) && _at + 2 < end()) {
      const std::string& option = _tokens[_at + 1].text;
      if (option.starts_with('-') && option.ends_with('c')) {
        return _tokens[_at + 2].text;
      }
    }
    return {};
  }

  [[nodiscard]] std::string programAndArgument() const {
    std::string option;
    std::string argument;
    const std::size_t stop = end();
    for (std::size_t i = _at + 1; i < stop && argument.empty(); ++i) {
      const std::string& word = _tokens[i].text;
      if (_tokens[i].isOperator) {
        ++i;
      } else if (!word.starts_with('-')) {
        argument = word;
      } else if (option.empty()) {
        option = word;
      }
    }
    std::string name(baseName(_tokens[_at].text));
    const std::string& about = argument.empty() ? option : argument;
    return about.empty() ? name : name + " " + singleSpaced(about);
  }

  std::vector<Token> _tokens;
  std::size_t _at = 0;
};

}  // namespace

std::string shortNameOf(std::string_view command) {
  const std::string name = Reader(command).name();
  return shortened(name.empty() ? singleSpaced(command) : name, kLongest);
}

}  // namespace monitor
