// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>
#include <unicode/locid.h>
#include <vexil/platform/Bundle.h>
#include <vexil/platform/Log.h>
#include <vexil/platform/StringsTable.h>

#include <map>
#include <mutex>
#include <typeinfo>
#include <utility>
#include <vector>

namespace vexil::platform {

struct Bundle::Tables {
  std::mutex mutex;
  std::vector<std::pair<std::string, StringsTable>> byLanguage;
};

namespace {

struct PreferredLanguage {
  std::mutex mutex;
  std::string tag;
};

PreferredLanguage& preferredLanguage() {
  static auto& language = *new PreferredLanguage;
  return language;
}

std::string userLanguage() {
  {
    const std::lock_guard lock(preferredLanguage().mutex);
    if (!preferredLanguage().tag.empty()) {
      return preferredLanguage().tag;
    }
  }
  UErrorCode error = U_ZERO_ERROR;
  return icu::Locale::getDefault().toLanguageTag<std::string>(error);
}

/// The tag, then the tag without its last part, and so on: "zh-Hans-CN", "zh-Hans", "zh". English
/// comes last.
std::vector<std::string> languagesToTry() {
  std::vector<std::string> languages;
  std::string tag = userLanguage();
  while (!tag.empty()) {
    languages.push_back(tag);
    const std::size_t end = tag.rfind('-');
    tag.resize(end == std::string::npos ? 0 : end);
  }
  languages.emplace_back("en");
  return languages;
}

}  // namespace

Bundle& Bundle::forModuleAt(const void* address) {
  static std::mutex mutex;
  static auto& bundles = *new std::map<const void*, Bundle>;
  Dl_info module{};
  const void* base = ::dladdr(address, &module) != 0 ? module.dli_fbase : nullptr;
  const std::lock_guard lock(mutex);
  Bundle& bundle = bundles[base];
  if (!bundle._tables) {
    bundle._tables = std::make_shared<Tables>();
  }
  return bundle;
}

const Bundle& Bundle::forClass(const std::type_info& ownClass) {
  // The `type_info` of a class lies in the module that holds the virtual functions of the class.
  return forModuleAt(&ownClass);
}

std::string Bundle::localizedString(std::string_view key, std::string_view fallback) const {
  const std::vector<std::string> languages = languagesToTry();
  const std::lock_guard lock(_tables->mutex);
  for (const std::string& language : languages) {
    for (const auto& [tableLanguage, table] : _tables->byLanguage) {
      if (tableLanguage == language) {
        if (const auto text = table.find(key)) {
          return std::string(*text);
        }
      }
    }
  }
  return std::string(fallback);
}

BundleRegistration::BundleRegistration(const void* addressInModule,
                                       std::span<const EmbeddedStrings> tables) {
  Bundle& bundle = Bundle::forModuleAt(addressInModule);
  for (const EmbeddedStrings& embedded : tables) {
    const auto bytes = std::as_bytes(std::span(embedded.contents));
    auto table = StringsTable::read(bytes);
    if (!table) {
      log("Malformed strings table of \"" + std::string(embedded.language) +
          "\": " + table.error().description());
      continue;
    }
    const std::lock_guard lock(bundle._tables->mutex);
    bundle._tables->byLanguage.emplace_back(embedded.language, *std::move(table));
  }
}

void setPreferredLanguage(std::string language) {
  const std::lock_guard lock(preferredLanguage().mutex);
  preferredLanguage().tag = std::move(language);
}

}  // namespace vexil::platform
