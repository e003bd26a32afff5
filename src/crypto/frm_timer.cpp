#include "crypto/frm_timer.h"

#include <memory>
#include <string>

#include "accounts/user_management.h"
#include "base/checked.h"
#include "base/debug_info.h"
#include "base/guard.h"
#include "base/paths.h"
#include "base/text.h"
#include "crypto/crypto_operations.h"
#include "crypto/temp_files.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/ui.h"
#include "settings/settings.h"

namespace corvessa {
namespace {

constexpr std::int32_t kTicksPerMinute = 60;
constexpr std::int32_t kTickMilliseconds = 1000;

/// The error as a deletion reports it: whatever went wrong with the path is one of four numbers.
Error DeletionError(const Error& error) {
  switch (error.number) {
    case 0:
    case kFileNotFound:
    case kPermissionDenied:
    case kPathNotFound:
      return {error.number, std::string(ErrorDescription(error.number))};
    default:
      return {kPathFileAccess, std::string(ErrorDescription(kPathFileAccess))};
  }
}

/// True when the file is gone.
bool DeleteQueuedFile(const std::string& path, EmptiedFolders& folders) {
  const Error error = DeletionError(Attempt([&] { platform::Host().files.Delete(path); }));
  Debug_Info::TraceLog("DeleteTemporaryFiles: Kill: " + path);
  Debug_Info::TraceLog("DeleteTemporaryFiles: Error code: " + Decimal(error.number) + " (" +
                       error.description + ")");
  if (error.number != 0) return false;
  folders.Add(FolderOf(path));
  return true;
}

std::shared_ptr<frmTimer> LoadedTimer() {
  const auto timers = LoadedFormsOf<frmTimer>();
  return timers.empty() ? nullptr : timers.front();
}

std::shared_ptr<frmTimer> RunningTimer() {
  if (auto timer = LoadedTimer()) return timer;
  auto timer = std::make_shared<frmTimer>();
  timer->Load();
  return timer;
}

}  // namespace

frmTimer::frmTimer()
    : Form("frmTimer", "", 100, 40),
      tmrTimer(*this, "tmrTimer", kTickMilliseconds),
      lblCount(*this, "lblCount", {7, 7, 86, 26}, "0") {
  tmrTimer.SetEnabled(false);
  tmrTimer.OnTimer = [this] { TimerEvent(); };
}

void frmTimer::Form_Load() {
  m_lTicks = 0;
  tmrTimer.SetEnabled(true);
}

void frmTimer::Form_Unload() {
  tmrTimer.SetEnabled(false);
}

void frmTimer::TimerEvent() {
  m_lTicks = CheckedAdd(m_lTicks, 1);
  if (m_lTicks % kTicksPerMinute != 0) return;
  CheckResetCryptoAndAccounts();
  DeleteTemporaryFiles();
}

void frmTimer::CheckResetCryptoAndAccounts() {
  Guarded("frmTimer::CheckResetCryptoAndAccounts - ", [&] {
    if (g_lPassphraseMemory < 1) return;
    if (m_lTicks < CheckedMultiply(g_lPassphraseMemory, kTicksPerMinute)) return;
    ResetCryptoAndAccounts();
  });
}

void frmTimer::ResetCryptoAndAccounts() {
  Guarded("frmTimer::ResetCryptoAndAccounts - ", [&] {
    if (g_oCrypto) g_oCrypto->Init();
  });
  UserManagement::ForgetAllPassphrases();
  m_lTicks = 0;
}

void frmTimer::DeleteTemporaryFiles() {
  // A file must go even when a window cannot be painted, so pumping has a guard of its own.
  Guarded("frmTimer::DeleteTemporaryFiles - ", [] { platform::Host().ui.DoEvents(); });
  if (KeepQueuedFiles::InForce()) return;
  Guarded("frmTimer::DeleteTemporaryFiles - ", [] {
    EmptiedFolders folders;
    for (std::size_t i = g_colTempFiles.size(); i-- > 0;) {
      if (DeleteQueuedFile(g_colTempFiles[i], folders)) {
        g_colTempFiles.erase(g_colTempFiles.begin() + static_cast<std::ptrdiff_t>(i));
      }
    }
  });
}

void StartHousekeeping() {
  RunningTimer();
}

void StopHousekeeping() {
  const auto timer = LoadedTimer();
  if (!timer) return;
  timer->tmrTimer.SetEnabled(false);
  timer->Unload();
}

void ForgetAfterUse() {
  if (g_lPassphraseMemory == kForgetAfterEachUse) ForgetNow();
}

void ForgetNow() {
  if (g_oCrypto) {
    RunningTimer()->ResetCryptoAndAccounts();
  } else {
    // The add-in was closed down while a dialog was open: a new timer would never stop.
    UserManagement::ForgetAllPassphrases();
  }
}

}  // namespace corvessa
