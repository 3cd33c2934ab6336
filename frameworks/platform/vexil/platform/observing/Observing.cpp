// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Error.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/Observing.h>

#include <string>

namespace vexil::platform {

void Observer::observeValueForKeyPathOfObjectChangeContext(
    const Key& keyPath, const std::shared_ptr<Observable>& object, const ChangeRecord& /*change*/,
    const ContextToken* context) {
  throw UnexpectedNotice("a change of \"" + std::string(keyPath.text()) + "\" of " +
                         object->description() + " reached an observer that does not know the " +
                         "context \"" + std::string(context == nullptr ? "" : context->text()) +
                         "\"");
}

}  // namespace vexil::platform
