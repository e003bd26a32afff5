#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/debug_info.h"
#include "base/text.h"

namespace corvessa {

/// The trace of a routine that runs in numbered stages: "Routine - text (status, stage)". Reads the
/// status with each line; the status must outlive this object.
class StageTrace {
 public:
  StageTrace(std::string_view routine, const std::int32_t& status)
      : routine_(routine), status_(status) {}

  void Begin(std::int16_t stage) { stage_ = stage; }
  void operator()(std::string_view text) const {
    Debug_Info::TraceLog([&] {
      return std::string(routine_).append(" - ").append(text) + " (" + Decimal(status_) + ", " +
             Decimal(stage_) + ")";
    });
  }

 private:
  std::string_view routine_;
  const std::int32_t& status_;
  std::int16_t stage_ = 0;
};

}  // namespace corvessa
