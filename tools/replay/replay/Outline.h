// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <replay/Transcript.h>
#include <vexil/outline/Outline.h>
#include <vexil/outline/OutlineCopy.h>
#include <vexil/platform/Object.h>

#include <memory>
#include <string>
#include <utility>

namespace replay {

/// Whether a copy has the rows that an outline has: the same ones, in the same places, each with
/// the same state.
[[nodiscard]] bool agree(const vexil::Outline& outline, const vexil::OutlineCopy& copy);

/// An outline that prints. When it becomes out of date, it prints
///
///     outOfDate o
///
/// It keeps a copy, which gets each update, and compares it with the outline's own rows. When the
/// two do not agree, it throws `InternalError`.
class Outline final : public vexil::platform::Object {
 public:
  /// Makes an outline of this name. `followed` is a collection or an item.
  template <class Followed>
  Outline(const std::shared_ptr<Followed>& followed, bool followsProperties,
          const std::string& name, std::shared_ptr<Transcript> transcript)
      : _name(name),
        _transcript(std::move(transcript)),
        _outline(followed, optionsOf(followsProperties, name, _transcript)) {}

  /// Updates the outline and prints the update.
  void update();
  /// Prints the rows as they were after the last update.
  void printRows() const;
  void refreshAll() { _outline.refreshAll(); }

 private:
  [[nodiscard]] static vexil::OutlineOptions optionsOf(
      bool followsProperties, const std::string& name,
      const std::shared_ptr<Transcript>& transcript);
  [[nodiscard]] std::string printed(const vexil::OutlineUpdate& update) const;
  [[nodiscard]] std::string printed(const vexil::RowState& row) const;
  void requireAgreement() const;

  const std::string _name;
  const std::shared_ptr<Transcript> _transcript;
  vexil::Outline _outline;
  vexil::OutlineCopy _copy;
};

}  // namespace replay
