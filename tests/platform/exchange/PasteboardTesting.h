// SPDX-License-Identifier: Apache-2.0
// Objects that go to a pasteboard and come from one, and what they were asked.
#pragma once

#include "tests/support/Bytes.h"
#include "tests/support/Lines.h"

#include <vexil/platform/Pasteboard.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace test {

using vexil::platform::Pasteboard;
using vexil::platform::PasteboardReadingOptions;
using vexil::platform::PasteboardWritingOptions;
using vexil::platform::Value;

/// An object with a table of types, which keeps what it was asked.
class Note : public vexil::platform::Object, public vexil::platform::PasteboardWriting {
 public:
  struct Type {
    std::string name;
    Value content;
    PasteboardWritingOptions options = PasteboardWritingOptions::none;
  };
  static constexpr auto promised = PasteboardWritingOptions::promised;

  explicit Note(std::vector<Type> types) : _types(std::move(types)) {}

  std::vector<std::string> writableTypesForPasteboard(const Pasteboard* pasteboard) const override {
    asked("types", pasteboard);
    std::vector<std::string> names;
    for (const Type& type : _types) {
      names.push_back(type.name);
    }
    return names;
  }
  PasteboardWritingOptions writingOptionsForTypePasteboard(
      std::string_view type, const Pasteboard* pasteboard) const override {
    asked("options " + std::string(type), pasteboard);
    return named(type).options;
  }
  Value pasteboardPropertyListForType(std::string_view type) const override {
    _questions.push_back("data " + std::string(type));
    // A copy, because the function may replace itself.
    if (const auto meanwhile = whenAskedForData) {
      meanwhile(std::string(type));
    }
    return named(type).content;
  }

  /// What was asked since the last call, in order.
  Lines questions() const { return std::exchange(_questions, {}); }

  /// Called with the type when data is asked for.
  std::function<void(std::string)> whenAskedForData;
  /// The board that must be named in questions.
  const Pasteboard* expectedBoard = nullptr;

 private:
  void asked(const std::string& question, const Pasteboard* pasteboard) const {
    const bool isExpected = expectedBoard == nullptr || pasteboard == expectedBoard;
    _questions.push_back(question + (isExpected ? "" : " of another board"));
  }
  [[nodiscard]] const Type& named(std::string_view name) const {
    for (const Type& type : _types) {
      if (type.name == name) {
        return type;
      }
    }
    throw std::logic_error("asked for a type that was not offered: " + std::string(name));
  }

  std::vector<Type> _types;
  mutable Lines _questions;
};

inline std::shared_ptr<Note> note(std::vector<Note::Type> types) {
  return std::make_shared<Note>(std::move(types));
}

}  // namespace test
