// SPDX-License-Identifier: Apache-2.0
#include <replay/Arguments.h>
#include <replay/InternalError.h>
#include <replay/Malformed.h>
#include <replay/Operations.h>
#include <replay/Scenario.h>
#include <replay/Step.h>
#include <replay/Transcript.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/Bundle.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/Log.h>

#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <utility>

namespace platform = vexil::platform;

namespace replay {

using platform::Value;

namespace {

/// The line without what differs from run to run: an encoder's words for its error, and the random
/// names of temporary files.
std::string withoutWhatVaries(std::string_view line, const TemporaryFiles& files) {
  constexpr std::string_view encoderError = " serialization error: ";
  const std::size_t position = line.find(encoderError);
  if (position != std::string_view::npos) {
    return std::string(line.substr(0, position + encoderError.size())) + "<error>";
  }
  return files.withoutTheirURLs(line);
}

/// Takes from an object everything that it may hold.
void clear(const std::shared_ptr<platform::Object>& object) {
  if (auto* const item = dynamic_cast<KRAVTWVItemVexil*>(object.get())) {
    item->setChildren(nullptr);
    item->setRepresentedObject({});
    item->setUniqueID({});
    item->setLabel({});
  } else if (auto* const list = dynamic_cast<KRAVTWVEventsVexil*>(object.get())) {
    list->setSortedEvents({});
    list->setRoot(nullptr);
  } else if (auto* const collection = dynamic_cast<KRAVTWVItemsVexil*>(object.get())) {
    collection->setRoot(nullptr);
  }
}

class Replay {
 public:
  explicit Replay(std::ostream& output) : _transcript(std::make_shared<Transcript>(output)) {
    platform::setPreferredLanguage("en");
    _previousSink = platform::setLogSink([transcript = _transcript](std::string_view line) {
      transcript->line("log " + withoutWhatVaries(line, transcript->files()));
    });
  }
  Replay(const Replay&) = delete;
  Replay& operator=(const Replay&) = delete;
  ~Replay();

  void perform(const Value& writtenStep, std::size_t number);

 private:
  std::optional<Value> resultOf(const Operation& operation, const Call& call);

  std::shared_ptr<Transcript> _transcript;
  platform::LogSink _previousSink;
};

Replay::~Replay() {
  _transcript->end();
  _transcript->names().unbindAll();
  // An object that is still alive holds itself, through a tree or a record that contains it.
  for (const auto& object : _transcript->registry().survivors()) {
    try {
      clear(object);
    } catch (const std::exception&) {
      // The transcript has ended, so an observer's exception is of no interest.
    }
  }
  _transcript->files().end();
  platform::setLogSink(std::move(_previousSink));
  platform::setPreferredLanguage({});
}

const Operation& operationOf(const Step& step, const Value& receiver) {
  return step.on          ? operationOfObject(step.operation, receiver)
         : step.className ? operationOfClass(step.operation, *step.className)
                          : operationWithoutReceiver(step.operation);
}

void check(const Operation& operation, const Call& call) {
  const auto refuse = [&](const std::string& what) {
    throw Malformed("\"" + std::string(operation.name) + "\" " + what);
  };
  const std::size_t most = operation.parameters.size();
  const std::size_t least = most - operation.optionalArguments;
  if (call.arguments.size() < least || call.arguments.size() > most) {
    refuse("takes " + (least < most ? std::to_string(least) + " to " : "") + std::to_string(most) +
           " argument(s), not " + std::to_string(call.arguments.size()));
  }
  for (std::size_t index = 0; index < call.arguments.size(); ++index) {
    const Operation::Parameter& parameter = operation.parameters[index];
    if (!parameter.takes(call.arguments[index])) {
      refuse("takes " + std::string(parameter.what) + " as argument " + std::to_string(index + 1));
    }
  }
  if (operation.needsName && !call.as) {
    refuse("needs a name to be bound \"as\"");
  }
}

void Replay::perform(const Value& writtenStep, std::size_t number) {
  const Step step(writtenStep);
  Call call{_transcript, step.on, {}, {}, step.as};
  if (step.on) {
    const Value* const receiver = _transcript->names().find(*step.on);
    if (receiver == nullptr) {
      throw Malformed("nothing is bound to \"" + *step.on + "\"");
    }
    call.receiver = *receiver;
  }
  const Operation& operation = operationOf(step, call.receiver);
  for (const Value& argument : step.with.elements()) {
    call.arguments.push_back(argumentFrom(argument, _transcript->names(), _transcript->files()));
  }
  check(operation, call);

  _transcript->line("== " + std::to_string(number) + ' ' + step.receiver() + ' ' + step.operation);
  const std::optional<Value> result = resultOf(operation, call);
  if (!result) {
    return;
  }
  if (step.as) {
    _transcript->names().bind(*step.as, *result);
  }
  if (operation.printsResult) {
    _transcript->line("-> " + (operation.print ? operation.print(call, *result)
                                               : _transcript->printer().value(*result)));
  }
}

std::optional<Value> Replay::resultOf(const Operation& operation, const Call& call) {
  try {
    return operation.perform(call);
  } catch (const InternalError&) {
    throw;
  } catch (const platform::RangeError&) {
    _transcript->line("!! range");
  } catch (const platform::InvalidArgument&) {
    _transcript->line("!! invalid-argument");
  } catch (const platform::UndefinedKey&) {
    _transcript->line("!! undefined-key");
  } catch (const std::exception&) {
    _transcript->line("!! other");
  }
  return std::nullopt;
}

}  // namespace

void replayScenario(const Value& steps, std::ostream& output) {
  if (!steps.isArray()) {
    throw Malformed("the scenario is no array of steps");
  }
  Replay replay(output);
  std::size_t number = 0;
  for (const Value& step : steps.elements()) {
    ++number;
    try {
      replay.perform(step, number);
    } catch (const Malformed& error) {
      throw Malformed("step " + std::to_string(number) + ": " + error.what());
    } catch (const InternalError& error) {
      throw InternalError("step " + std::to_string(number) + ": " + error.what());
    }
  }
}

}  // namespace replay
