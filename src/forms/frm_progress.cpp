#include "forms/frm_progress.h"

#include <string>

#include "base/checked.h"
#include "base/guard.h"
#include "base/text.h"
#include "platform/host.h"
#include "platform/system.h"
#include "platform/ui.h"
#include "settings/settings.h"

namespace corvessa {
namespace {

/// Steps for a message, and again for each of its attachments.
constexpr std::int32_t kStepsEach = 4;

std::int32_t StepsFor(platform::MailItem& item) {
  if (g_bDisableAutoDecryptAttachments) return kStepsEach;
  return CheckedAdd(CheckedMultiply(kStepsEach, item.Attachments()->Count()), kStepsEach);
}

}  // namespace

frmProgress::frmProgress() : BrandedForm("frmProgress", "<!-- SHORTNAME -->", 400, 249) {
  Text1.SetAccessibleName("Steps");
}

void frmProgress::Init(const platform::MailItemPtr& item, std::int32_t steps) {
  Guarded("frmProgress::Init - ", [&] {
    Load();
    pgbProgress.SetRange(0, steps >= 1 ? steps : StepsFor(*item));
    active_ = true;
    finished_ = false;
    Show();
    platform::Host().ui.DoEvents();
  });
}

void frmProgress::SetCaption(std::string_view text, std::int32_t extra_steps) {
  if (!active_) return;
  const FormPtr held = shared_from_this();
  Guarded("frmProgress::SetCaption - ", [&] {
    std::string line = "(" + platform::Host().clock.DateTimeText() + ") ";
    Text1.AppendText(line.append(text).append(kCrLf));
    lblDescription.SetCaption(text);
    if (pgbProgress.Max() > pgbProgress.Value()) {
      pgbProgress.SetValue(CheckedAdd(pgbProgress.Value(), CheckedAdd(1, extra_steps)));
    }
    platform::Host().ui.DoEvents();
  });
}

void frmProgress::Finish() {
  const FormPtr held = shared_from_this();
  SetCaption("Finished");
  finished_ = true;
  Unload();
}

std::shared_ptr<frmProgress> ProgressWindow() {
  const auto windows = LoadedFormsOf<frmProgress>();
  return windows.empty() ? std::make_shared<frmProgress>() : windows.front();
}

void ShowCountedStep(std::string_view step, std::int64_t counter, std::size_t count) {
  const auto window = ProgressWindow();
  if (!window->IsLoaded()) return;
  window->SetCaption(std::string(step) + " (" + Decimal(counter) + " of " +
                     Decimal(static_cast<std::int64_t>(count)) + ")");
}

}  // namespace corvessa
