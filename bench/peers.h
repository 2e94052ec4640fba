// The loggers that a suppressed line is compared with.
#pragma once

#include <glog/logging.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <memory>

#include "harness.h"

inline double SuppressedSpdlog(int calls) {
  static const auto logger = [] {
    auto made =
        std::make_shared<spdlog::logger>("off", std::make_shared<spdlog::sinks::null_sink_st>());
    made->set_level(spdlog::level::off);
    return made;
  }();
  return bench::Repeat(calls, [](int i) { logger->debug("data={:#x}.", i); });
}

inline double SuppressedGlog(int calls) {
  return bench::Repeat(calls, [](int i) { VLOG(1) << "data=0x" << std::hex << i << '.'; });
}
