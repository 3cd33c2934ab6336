// SPDX-License-Identifier: Apache-2.0
#include <replay/Operations.h>
#include <replay/Recorders.h>
#include <vexil/KRAVTWVItemsVexil.h>

namespace platform = vexil::platform;

namespace replay {

using platform::Key;
using platform::Observable;
using platform::Value;

namespace {

using Result = std::optional<Value>;

Operation watch() {
  Operation operation{"watch",
                      {detail::parameterOf<Key>()},
                      &detail::isA<Observable>,
                      [](const Call& call) -> Result {
                        const auto object =
                            std::dynamic_pointer_cast<Observable>(call.receiver.object());
                        const Key key = Parameter<Key>::from(call.arguments[0]);
                        return Value(Watch::on(object, key, *call.as, call.transcript));
                      }};
  operation.printsResult = false;
  operation.needsName = true;
  return operation;
}

Operation unwatch() {
  return {"unwatch", {}, &detail::isA<Watch>, [](const Call& call) -> Result {
            Watch::end(std::dynamic_pointer_cast<Watch>(call.receiver.object()));
            return std::nullopt;
          }};
}

void printTree(const Call& call, const std::shared_ptr<KRAVTWVItemVexil>& root) {
  if (root) {
    call.transcript->printer().tree(root,
                                    [&](std::string_view line) { call.transcript->line(line); });
  }
}

Operation treeOfItem() {
  return {"tree", {}, &detail::isA<KRAVTWVItemVexil>, [](const Call& call) -> Result {
            printTree(call, std::dynamic_pointer_cast<KRAVTWVItemVexil>(call.receiver.object()));
            return std::nullopt;
          }};
}

Operation treeOfCollection() {
  return {"tree", {}, &detail::isA<KRAVTWVItemsVexil>, [](const Call& call) -> Result {
            printTree(call, dynamic_cast<KRAVTWVItemsVexil&>(*call.receiver.object()).root());
            return std::nullopt;
          }};
}

Operation release() {
  return {"release", {}, &detail::isAnything, [](const Call& call) -> Result {
            call.transcript->names().unbind(*call.on);
            return std::nullopt;
          }};
}

/// Two objects are the same when they are one object, two containers when they share their storage.
/// Other plain values have no identity: they are the same when they are equal.
bool areTheSame(const Value& one, const Value& other) {
  if (one.kind() != other.kind()) {
    return false;
  }
  if (one.isObject()) {
    return one.object() == other.object();
  }
  const bool isContainer = one.isArray() || one.isDictionary();
  return isContainer ? one.sharesStorageWith(other) : one == other;
}

}  // namespace

std::vector<Operation> verbsOfObjects() {
  return {watch(), unwatch(), treeOfItem(), treeOfCollection(), release()};
}

std::vector<Operation> verbsWithoutReceiver() {
  return {
      function("same", &areTheSame),
      function("sameHash",
               [](const PresentItem& one, const PresentItem& other) {
                 return one.item->hash() == other.item->hash();
               }),
  };
}

}  // namespace replay
