#include "desk/terminal/sudden_end.h"

#include <mutex>
#include <string_view>
#include <unistd.h>
#include <utility>

#include "base/guard.h"

namespace corvessa::desk {
namespace {

std::mutex g_tidy_mutex;
std::function<void()> g_tidy;

void SetTidy(std::function<void()> tidy) {
  const std::lock_guard lock(g_tidy_mutex);
  g_tidy = std::move(tidy);
}

void GiveUp() {
  TidyUp();
  static constexpr std::string_view kComplaint =
      "corvessa-desk: the message takes too long to decrypt; given up\n";
  const ssize_t ignored = write(STDERR_FILENO, kComplaint.data(), kComplaint.size());
  static_cast<void>(ignored);
  _exit(1);
}

}  // namespace

TidyFirst::TidyFirst(std::function<void()> tidy) {
  SetTidy(std::move(tidy));
}

TidyFirst::~TidyFirst() {
  SetTidy({});
}

void TidyUp() {
  const std::lock_guard lock(g_tidy_mutex);
  if (g_tidy) Ignoring(g_tidy);
}

WorkLimit::WorkLimit(std::chrono::nanoseconds processor_time)
    : deadline_(CLOCK_PROCESS_CPUTIME_ID, &GiveUp) {
  deadline_.Start(processor_time);
}

}  // namespace corvessa::desk
