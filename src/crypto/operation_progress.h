#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "base/debug_info.h"
#include "base/text.h"
#include "message/attachment_node.h"

/// How a long operation shows how far it is: to the user in the progress window, to support in the
/// trace.
namespace corvessa {

/// Calls `use` for each node and shows its progress step ("Storing attachments (2 of 5)"). Each
/// step lets events run, which may empty the list: then it stops and returns false. Throws Error 6
/// beyond 32,767 nodes, and what `use` throws.
bool ForEachAttachment(const AttachmentNodes& attachments, std::string_view step,
                       const std::function<void(const AttachmentNodePtr&)>& use);

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
