// SPDX-License-Identifier: Apache-2.0
#include <syslog.h>
#include <vexil/platform/Log.h>

#include <iostream>
#include <mutex>
#include <string>
#include <utility>

namespace vexil::platform {

namespace {

struct SinkHolder {
  std::mutex mutex;
  LogSink sink;
};

SinkHolder& holder() {
  static auto& holder = *new SinkHolder;
  return holder;
}

void logToSystem(std::string_view line) {
  const std::string text(line);
  syslog(LOG_USER | LOG_NOTICE, "%s", text.c_str());
  std::cerr << text + "\n";
}

}  // namespace

void log(std::string_view line) {
  LogSink sink;
  {
    const std::lock_guard lock(holder().mutex);
    sink = holder().sink;
  }
  sink ? sink(line) : logToSystem(line);
}

LogSink setLogSink(LogSink sink) {
  const std::lock_guard lock(holder().mutex);
  return std::exchange(holder().sink, std::move(sink));
}

}  // namespace vexil::platform
