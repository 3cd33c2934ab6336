// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Object.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <typeinfo>

namespace vexil::platform {

/// The strings table of one language, embedded in a module: a tag such as "de" or "zh-Hans" (BCP
/// 47), and the bytes of the table. Both must live as long as the program.
struct EmbeddedStrings {
  std::string_view language;
  std::string_view contents;
};

/// The resources of one module. A module is a program or a shared library, with everything that is
/// linked into it.
///
/// A module registers its strings tables once, at its start:
///
///     const BundleRegistration registration(&anythingOfThisModule, embeddedTables());
///
/// Texts are looked up for a class, in the tables of the module that holds the class. So a host's
/// subclass, in a module of the host, uses the host's texts. Several libraries that are linked into
/// one module share its bundle. A key is then looked up in their tables, in the order in which they
/// were registered.
class Bundle {
 public:
  /// The bundle of the module that holds a class, or the object's own class. It is empty when
  /// nothing was registered for the module. It lives as long as the program.
  static const Bundle& forClassOf(const Object& object) { return forClass(typeid(object)); }
  static const Bundle& forClass(const std::type_info& ownClass);

  /// The text under `key` in the user's language. When there is none, the English text. When there
  /// is none either, `fallback`.
  ///
  /// The user's language is that of ICU's default locale, unless `setPreferredLanguage` sets
  /// another. Its full tag is tried first, then the tag without its last part, and so on.
  [[nodiscard]] std::string localizedString(std::string_view key, std::string_view fallback) const;

 private:
  friend class BundleRegistration;
  struct Tables;
  static Bundle& forModuleAt(const void* address);
  std::shared_ptr<Tables> _tables;
};

/// Adds strings tables to the bundle of the module that holds `addressInModule`. A table that
/// cannot be read is logged and left out.
class BundleRegistration {
 public:
  BundleRegistration(const void* addressInModule, std::span<const EmbeddedStrings> tables);
};

/// From now on all texts are looked up in this language, whatever the user's language is. When
/// `language` is empty, they are looked up in the user's language again.
void setPreferredLanguage(std::string language);

}  // namespace vexil::platform
