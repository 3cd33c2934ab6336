// SPDX-License-Identifier: Apache-2.0
#include "NeverReached.h"

#include <array>
#include <fstream>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

namespace foreign {

namespace {

struct Family {
  std::string_view name;
  Site first;
  Site last;
};
constexpr auto families = std::to_array<Family>({
    {"objects", Site::objectIsEqual, Site::objectDescription},
    {"services", Site::serviceIsEqual, Site::serviceDescription},
    {"overrides", Site::uniqueID, Site::domain},
    {"protected", Site::keyTable, Site::isKindOfReceiversClass},
    {"dependencies", Site::keysAffectedByRepresentedObject, Site::keysAffectingIsGroup},
    {"exchange", Site::writableTypes, Site::initWithPropertyList},
    {"collection", Site::collectionKeyTable, Site::collectionDestructor},
    {"getters", Site::getUniqueID, Site::setByKey},
    {"collectionGetters", Site::getRoot, Site::setCollectionByKey},
    {"itemObservers", Site::observerChildren, Site::observerOwnKey},
    {"collectionObservers", Site::observerRoot, Site::observerSortedServices},
    {"rootObservers", Site::observerWatchedRoot, Site::observerDelegate},
    {"delegates", Site::delegateSetting, Site::delegateReplacement},
    {"outlines", Site::outlineCallback, Site::outlineCallback},
    {"log", Site::logSink, Site::logSink},
});

std::size_t numberOf(Site site) {
  return static_cast<std::size_t>(site);
}

}  // namespace

std::string lineOf(const std::string& operation, const std::set<Site>& sites) {
  std::string line = operation + " |";
  for (const Family& family : families) {
    std::string own;
    std::size_t count = 0;
    for (std::size_t i = numberOf(family.first); i <= numberOf(family.last); ++i) {
      const Site site{static_cast<unsigned char>(i)};
      if (sites.contains(site)) {
        own += " " + std::string(nameOf(site));
        ++count;
      }
    }
    if (count > 1 && count == numberOf(family.last) - numberOf(family.first) + 1) {
      own = " " + std::string(family.name) + "/*";
    }
    line += own;
  }
  return line;
}

std::map<std::string, std::string> linesIn(const std::string& file) {
  std::map<std::string, std::string> lines;
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line);) {
    if (!line.empty() && !line.starts_with('#')) {
      lines.emplace(line.substr(0, line.find(" |")), line);
    }
  }
  return lines;
}

void write(const std::string& file, const NeverReached& list) {
  std::string text;
  {
    std::ifstream old(file);
    for (std::string line; std::getline(old, line) && (line.empty() || line.starts_with('#'));) {
      text += line + "\n";
    }
  }
  for (const auto& [operation, sites] : list) {
    text += lineOf(operation, sites) + "\n";
  }
  std::ofstream(file) << text;
}

}  // namespace foreign
