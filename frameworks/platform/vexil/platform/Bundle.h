// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Object.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <typeinfo>

namespace vexil::platform {

/// The strings table of one language, as it is embedded in a module: a tag such as "de" or
/// "zh-Hans" (BCP 47), and the bytes of the table. Both live as long as the program.
struct EmbeddedStrings {
  std::string_view language;
  std::string_view contents;
};

/// The resources of one module: a program or a shared library, and what is linked into it.
///
/// A module hands its strings tables over once, at its start:
///
///     const vexil::platform::BundleRegistration registration(&anythingOfThisModule,
///     embeddedTables());
///
/// Texts are looked up for a class, in the tables of the module that holds the class. So a host's
/// subclass in a module of the host's own speaks with the host's words. Several libraries that are
/// linked into one module share its bundle; a key is looked up in their tables in the order in
/// which they were registered.
class Bundle {
 public:
  /// The bundle of the module that holds a class, or the object's own class; an empty one when
  /// nothing was registered for it. It lives as long as the program.
  static const Bundle& forClassOf(const Object& object) { return forClass(typeid(object)); }
  static const Bundle& forClass(const std::type_info& ownClass);

  /// The text under `key` in the user's language, else in English, else `fallback`.
  ///
  /// The user's language is that of ICU's default locale, unless `setPreferredLanguage` says
  /// otherwise: its full tag is tried first, then the tag without its last part, and so on.
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

/// Has all texts looked up in this language from now on, whatever the user's is; in the user's
/// again when it is empty.
void setPreferredLanguage(std::string language);

}  // namespace vexil::platform
