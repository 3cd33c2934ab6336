// SPDX-License-Identifier: Apache-2.0
// What the observation tests observe.
#pragma once

#include <vexil/platform/Observable.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace test {

/// A shelf of books, with a property of every sort:
///
///     label                 stored, with an automatic setter
///     spine                 follows from "label"
///     heading               follows from "spine", so from "label" by way of it
///     books                 an array, announced by hand at indexes
///     isEmpty               follows from "books"
///     summary               follows from "books" and "heading"
///     weight                follows from "books", but cannot be read
///     allBooks              can only be set, and sets "books" as a whole
///     loop, pool            follow from each other
class Shelf : public vexil::platform::Observable {
 public:
  static std::shared_ptr<Shelf> make() { return std::make_shared<Shelf>(); }

  [[nodiscard]] vexil::platform::Value label() const {
    count("label");
    return read(_label);
  }
  void setLabel(vexil::platform::Value label) { assign("label", _label, std::move(label)); }

  [[nodiscard]] std::string spine() const {
    count("spine");
    return "[" + std::string(_label.string()) + "]";
  }
  [[nodiscard]] std::string heading() const { return "Shelf " + spine(); }

  [[nodiscard]] vexil::platform::Value books() const {
    count("books");
    return vexil::platform::Value::array(_books);
  }
  [[nodiscard]] bool isEmpty() const noexcept { return _books.empty(); }
  [[nodiscard]] std::string summary() const {
    return heading() + " " + std::to_string(_books.size());
  }
  [[nodiscard]] int loop() const { return 1; }

  void setAllBooks(const vexil::platform::Value& books) {
    auto change = willChangeValueForKey("books");
    _books.assign(books.elements().begin(), books.elements().end());
    didChangeValueForKey(std::move(change));
  }
  void insertBook(std::size_t index, vexil::platform::Value book) {
    auto change =
        willChangeValuesAtIndexesForKey(vexil::platform::ChangeKind::insertion, {index}, "books");
    _books.insert(_books.begin() + static_cast<std::ptrdiff_t>(index), std::move(book));
    didChangeValuesAtIndexesForKey(std::move(change));
  }
  void removeBook(std::size_t index) {
    auto change =
        willChangeValuesAtIndexesForKey(vexil::platform::ChangeKind::removal, {index}, "books");
    _books.erase(_books.begin() + static_cast<std::ptrdiff_t>(index));
    didChangeValuesAtIndexesForKey(std::move(change));
  }
  void replaceBook(std::size_t index, vexil::platform::Value book) {
    auto change =
        willChangeValuesAtIndexesForKey(vexil::platform::ChangeKind::replacement, {index}, "books");
    _books[index] = std::move(book);
    didChangeValuesAtIndexesForKey(std::move(change));
  }

  /// Changes without announcements. Tests announce them by hand and do something in between.
  void setLabelSilently(vexil::platform::Value label) { exchange(_label, label); }
  void appendSilently(vexil::platform::Value book) { _books.push_back(std::move(book)); }

  /// How often a key has been read.
  [[nodiscard]] int readsOf(const std::string& key) const { return _reads[key]; }

  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectingValueForKey(
      const vexil::platform::Key& key) const override {
    static const std::map<std::string_view, std::set<std::string>> affecting{
        {"spine", {"label"}},
        {"heading", {"spine"}},
        {"isEmpty", {"books"}},
        {"weight", {"books"}},
        {"loop", {"pool"}},
        {"pool", {"loop"}},
        {"summary", {"books", "heading"}}};
    const auto found = affecting.find(key.text());
    return found == affecting.end() ? std::set<std::string>() : found->second;
  }

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override {
    using vexil::platform::KeyAccess;
    static const vexil::platform::KeyTable table(
        nullptr,
        {KeyAccess::readWrite<&Shelf::label, &Shelf::setLabel>("label"),
         KeyAccess::readOnly<&Shelf::spine>("spine"),
         KeyAccess::readOnly<&Shelf::heading>("heading"),
         KeyAccess::readOnly<&Shelf::books>("books"),
         KeyAccess::readOnly<&Shelf::isEmpty>("isEmpty"),
         KeyAccess::readOnly<&Shelf::summary>("summary"), KeyAccess::readOnly<&Shelf::loop>("loop"),
         KeyAccess::readOnly<&Shelf::loop>("pool"),
         KeyAccess::writeOnly<&Shelf::setAllBooks>("allBooks")});
    return table;
  }

 private:
  void count(const std::string& key) const { ++_reads[key]; }

  vexil::platform::Value _label;
  std::vector<vexil::platform::Value> _books;
  mutable std::map<std::string, int> _reads;
};

}  // namespace test
