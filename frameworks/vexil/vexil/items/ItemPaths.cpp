// SPDX-License-Identifier: Apache-2.0
#include <vexil/items/ItemFields.h>
#include <vexil/kinds/Item.h>
#include <vexil/platform/Error.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace platform = vexil::platform;
using platform::Value;
using vexil::detail::ItemFields;

namespace {

/// The text of an identifier that a path needs.
std::string_view stringIdentifier(const Value& identifier, const KRAVTWVItemVexil& item) {
  if (!identifier.isString()) {
    throw platform::InvalidArgument("a path needs an identifier of " + item.description());
  }
  return identifier.string();
}

}  // namespace

std::string KRAVTWVItemVexil::path() const {
  const auto self = weak_from_this().lock();  // a kind may let go of it when it is asked
  std::vector<std::string> identifiers{std::string(stringIdentifier(uniqueID(), *this))};
  for (auto item = parent(); item; item = item->parent()) {
    identifiers.emplace_back(stringIdentifier(item->uniqueID(), *item));
  }
  std::string path;
  for (auto identifier = identifiers.rbegin(); identifier != identifiers.rend(); ++identifier) {
    path += "/" + *identifier;
  }
  return path;
}

std::shared_ptr<KRAVTWVItemVexil> KRAVTWVItemVexil::itemWithPath(std::string_view path) const {
  const auto self = std::static_pointer_cast<KRAVTWVItemVexil>(
      std::const_pointer_cast<platform::Observable>(shared_from_this()));
  // All is held and copied, because kinds may change everything when they are asked.
  const std::string wanted(path);
  struct Pending {
    std::shared_ptr<KRAVTWVItemVexil> item;
    std::size_t start;  // of what is left of the path
  };
  std::vector<Pending> pending{{self, 0}};  // a stack: the last one is next
  while (!pending.empty()) {
    const Pending next = std::move(pending.back());
    pending.pop_back();
    const Value identifier = next.item->uniqueID();
    const std::string prefix = "/" + std::string(stringIdentifier(identifier, *next.item));
    if (wanted.compare(next.start, prefix.size(), prefix) != 0) {
      continue;
    }
    const std::size_t rest = next.start + prefix.size();
    if (rest == wanted.size()) {
      return next.item;
    }
    const KRAVTWVItemArray& children = ItemFields::currentChildren(*next.item);
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
      pending.push_back({*child, rest});
    }
  }
  return nullptr;
}

std::optional<platform::FileURL> KRAVTWVItemVexil::URLForUniqueTemporaryDirectory() const {
  constexpr int attempts = 5;
  const platform::FileURL temporaryDirectory = platform::temporaryDirectory();
  for (int attempt = 0; attempt < attempts; ++attempt) {
    std::optional<std::string> name = platform::randomUUID();
    if (!name) {
      name = std::to_string(::random());
      *name += "-" + std::to_string(::random());
      *name += "-" + std::to_string(::random());
    }
    platform::FileURL directory = temporaryDirectory.appendingDirectory(*name);
    if (platform::createDirectory(directory)) {
      return directory;
    }
  }
  return std::nullopt;
}
