// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/kinds/Kind.h>
#include <vexil/platform/Pasteboard.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class KRAVTWVGroupVexil;

namespace vexil {

namespace detail {
/// The identifier of a group that is read from this type; absent when this type is not read as a
/// group.
[[nodiscard]] std::optional<std::string_view> identifierOfGroupFromPasteboard(
    std::string_view type);
/// Adds the events of the schedule in `propertyList` to a group.
void addEventsFromPasteboard(KRAVTWVGroupVexil& group, const platform::Value& propertyList,
                             std::string_view type);
}  // namespace detail

/// The factories of groups, for the kind `Self` derived from `Base`.
template <class Self, class Base>
class GroupFactories : public ItemFactories<Self, Base> {
 public:
  using ItemFactories<Self, Base>::ItemFactories;

  static std::shared_ptr<Self> itemWithLabelUniqueID(platform::Value label,
                                                     platform::Value uniqueID) {
    return GroupFactories::makeItem(std::move(label), std::move(uniqueID));
  }

  /// Makes a group of a pasteboard's property list of this type; see
  /// `KRAVTWVGroupVexil::readableTypesForPasteboard`. Never a null pointer. For any other type an
  /// item as it is before it is initialised: it represents nothing, has no label and no identifier,
  /// and its children are absent.
  static std::shared_ptr<Self> initWithPasteboardPropertyListOfType(
      const platform::Value& propertyList, std::string_view type) {
    const auto identifier = detail::identifierOfGroupFromPasteboard(type);
    if (!identifier) {
      return GroupFactories::makeBareItem();
    }
    auto group = Self::itemWithLabelUniqueID(*identifier, *identifier);
    detail::addEventsFromPasteboard(*group, propertyList, type);
    return group;
  }
};

}  // namespace vexil

/// A bare label, always a group, with or without children. It represents its identifier.
///
/// On a pasteboard a group is the schedule of the events right below it, as data or as a file. A
/// schedule is an array of event records, as a property list of the binary format.
class KRAVTWVGroupVexil : public vexil::GroupFactories<KRAVTWVGroupVexil, KRAVTWVItemVexil>,
                          public vexil::platform::PasteboardWriting {
 public:
  template <class Self, class Base>
  using Factories = vexil::GroupFactories<Self, Base>;

  using GroupFactories::GroupFactories;
  /// `initWithLabel:uniqueID:`.
  KRAVTWVGroupVexil(vexil::platform::Value label, vexil::platform::Value uniqueID);
  ~KRAVTWVGroupVexil() override;

  [[nodiscard]] bool isGroup() const override { return true; }

  // The board, which may be a null pointer, has no influence on any answer below. Types are
  // compared by `vexil::platform::typeIdentifiersAreEqual`.

  /// A schedule, or the URL of a file that holds one. The file can be of any property-list format
  /// and of any name.
  ///
  /// `initWithPasteboardPropertyListOfType` makes a group. Its label and identifier are the
  /// identifier of the type, as the constant spells it. Each element of the schedule, whatever it
  /// is, becomes an event of the plain event kind; of equal events the last one stays.
  ///
  /// A schedule that is no array makes an empty group, and so does a URL that is no string. So does
  /// a string from whose place no array can be read: then "Malformed schedule; must be a plist
  /// array: " is logged with the string, or with "(null)" when it is no URL.
  [[nodiscard]] static std::vector<std::string> readableTypesForPasteboard(
      const vexil::platform::Pasteboard* pasteboard);
  /// Property lists, for every type.
  [[nodiscard]] static vexil::platform::PasteboardReadingOptions readingOptionsForTypePasteboard(
      std::string_view type, const vexil::platform::Pasteboard* pasteboard);

  /// A schedule, and the URL of a schedule file.
  [[nodiscard]] std::vector<std::string> writableTypesForPasteboard(
      const vexil::platform::Pasteboard* pasteboard) const override;
  /// The file is promised: it is written when somebody asks for its URL.
  [[nodiscard]] vexil::platform::PasteboardWritingOptions writingOptionsForTypePasteboard(
      std::string_view type, const vexil::platform::Pasteboard* pasteboard) const override;
  /// For the schedule type: the `representedEvent` of each child that is a
  /// `KRAVTWVEventRepresenting`, in order. Other children, and all that is below a child, are left
  /// out. When one event cannot be encoded (an absent one cannot), the result is absent, and
  /// "<class> serialization error: <error>" is logged.
  ///
  /// For the type of file URLs: the URL, in UTF-8, of a new file in a new directory below the
  /// temporary directory. The consumer owns both from then on. The file holds what this operation
  /// returns for the schedule type, also where a subclass overrides it. Its name is the label with
  /// the extension of schedule files. The result is absent when the file cannot be made, for
  /// example because the label is no string or holds a slash. Nothing is ever written outside of
  /// the new directory.
  ///
  /// For other types: absent.
  [[nodiscard]] vexil::platform::Value pasteboardPropertyListForType(
      std::string_view type) const override;
};
