// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/kinds/EventRepresenting.h>
#include <vexil/kinds/Kind.h>
#include <vexil/platform/Pasteboard.h>

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vexil {

namespace detail {
/// Whether an event is read from this property list of this type.
[[nodiscard]] bool isEventFromPasteboard(const platform::Value& propertyList,
                                         std::string_view type);
}  // namespace detail

/// The factories of events, for the kind `Self` derived from `Base`.
template <class Self, class Base>
class EventFactories : public ItemFactories<Self, Base> {
 public:
  using ItemFactories<Self, Base>::ItemFactories;

  static std::shared_ptr<Self> itemWithEvent(platform::Value event) {
    return EventFactories::itemWithRepresentedObject(std::move(event));
  }

  /// Makes an event of a pasteboard's property list of this type; see
  /// `KRAVTWVEventVexil::readableTypesForPasteboard`. Never a null pointer. For anything else an
  /// item as it is before it is initialised: it represents nothing, and its children are absent.
  static std::shared_ptr<Self> initWithPasteboardPropertyListOfType(
      const platform::Value& propertyList, std::string_view type) {
    return detail::isEventFromPasteboard(propertyList, type) ? Self::itemWithEvent(propertyList)
                                                             : EventFactories::makeBareItem();
  }
};

}  // namespace vexil

/// An event record. Identifier, label and enabled are read through `representedEvent`, so a
/// subclass that overrides it changes all three.
///
/// On a pasteboard an event is four things: its record, a schedule of it alone as data, the same as
/// a file, and its label as text.
class KRAVTWVEventVexil : public vexil::EventFactories<KRAVTWVEventVexil, KRAVTWVItemVexil>,
                          public KRAVTWVEventRepresenting,
                          public vexil::platform::PasteboardWriting {
 public:
  template <class Self, class Base>
  using Factories = vexil::EventFactories<Self, Base>;

  using EventFactories::EventFactories;
  ~KRAVTWVEventVexil() override;

  [[nodiscard]] vexil::platform::Value uniqueID() const override;
  [[nodiscard]] vexil::platform::Value label() const override;
  [[nodiscard]] bool supportsEnabled() const override { return true; }
  /// The boolean reading of the record's value: false when that is absent or no number.
  [[nodiscard]] bool enabled() const override;
  [[nodiscard]] vexil::platform::Value representedEvent() const override {
    return representedObject();
  }
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectedByRepresentedObject() const override;

  // The board, which may be a null pointer, has no influence on any answer below. Types are
  // compared by `vexil::platform::typeIdentifiersAreEqual`.

  /// The type of events alone. A schedule is never read as an event, nor is anything that is no
  /// dictionary.
  [[nodiscard]] static std::vector<std::string> readableTypesForPasteboard(
      const vexil::platform::Pasteboard* pasteboard);
  /// Property lists, for every type.
  [[nodiscard]] static vexil::platform::PasteboardReadingOptions readingOptionsForTypePasteboard(
      std::string_view type, const vexil::platform::Pasteboard* pasteboard);

  /// The event, a schedule of it, the URL of a schedule file, and text.
  [[nodiscard]] std::vector<std::string> writableTypesForPasteboard(
      const vexil::platform::Pasteboard* pasteboard) const override;
  /// The file is promised, as a group's file is.
  [[nodiscard]] vexil::platform::PasteboardWritingOptions writingOptionsForTypePasteboard(
      std::string_view type, const vexil::platform::Pasteboard* pasteboard) const override;
  /// As data: `representedEvent`, and an array of it. As a file: as a group's. As text: the label
  /// itself, whatever it is.
  [[nodiscard]] vexil::platform::Value pasteboardPropertyListForType(
      std::string_view type) const override;

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;
};
