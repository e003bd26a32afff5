#pragma once

#include <cstdint>

#include "ui/controls.h"
#include "ui/form.h"

namespace corvessa {

/// A hidden form whose one-second timer forgets passphrases after the user's time and deletes
/// queued temporary files, both on whole minutes.
class frmTimer final : public Form {
 public:
  frmTimer();

  void CheckResetCryptoAndAccounts();
  /// Locks every key pair and forgets every passphrase; the forgetting also when the engine fails.
  void ResetCryptoAndAccounts();
  void DeleteTemporaryFiles();

  Timer tmrTimer;
  Label lblCount;
  /// Seconds since the form was loaded or since the last reset.
  std::int32_t m_lTicks = 0;

 private:
  void Form_Load() override;
  void Form_Unload() override;
  void TimerEvent();
};

/// Loads the housekeeping timer's form, which starts its timer; does nothing when it is loaded.
void StartHousekeeping();

/// Stops and unloads the housekeeping timer; does nothing when it was never loaded.
void StopHousekeeping();

/// Forgets all passphrases if the user chose "After each use". Every operation that used one ends
/// with it.
void ForgetAfterUse();

/// Forgets all passphrases now.
void ForgetNow();

}  // namespace corvessa
