#pragma once

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "addin/connect.h"
#include "base/error.h"
#include "desk/outlook/outlook_model.h"
#include "desk/profile/pictures.h"
#include "desk/profile/profile_files.h"
#include "desk/profile/registry_file.h"
#include "desk/profile/system_services.h"
#include "engine/engine.h"
#include "mime/mime_reader.h"
#include "support/fault_injector.h"
#include "support/recording_observer.h"
#include "support/scripted_engine.h"
#include "support/scripted_ui.h"
#include "support/temp_folder.h"
#include "ui/form.h"

namespace corvessa::testing {

/// A clock that stands still, and chance that repeats itself.
class TestClock final : public platform::Clock {
 public:
  std::string DateTimeText() override { return text; }
  void Randomize() override {}
  /// A fixed sequence in which none comes twice in a row.
  double Random() override {
    state_ = state_ * 1664525 + 1013904223;
    return static_cast<double>(state_) / 4294967296.0;
  }

  std::string text = "2/29/2004 11:58:07 PM";

 private:
  std::uint32_t state_ = 1;
};

/// Records the pages that were to be opened.
class TestShell final : public platform::Shell {
 public:
  void OpenPage(std::string_view url) override { pages.emplace_back(url); }

  std::vector<std::string> pages;
};

/// Answers the scripted pages and fails for the rest.
class ScriptedInet final : public platform::Inet {
 public:
  std::string OpenURL(std::string_view url) override {
    if (const auto page = pages.find(url); page != pages.end()) return page->second;
    Raise(kPathFileAccess, "no page at " + std::string(url));
  }

  std::map<std::string, std::string, std::less<>> pages;
};

enum class EngineChoice { kScripted, kReal };

/// The add-in on a host of its own: a fresh profile, Outlook's model, the real or the scripted
/// engine, a scripted Ui. At the end the test fails for every error line in the trace that it did
/// not allow and for every form or box that was expected in vain.
///
/// Start-up's splash screen and the progress window may be shown without being expected.
class AddInFixture : public ::testing::Test {
 protected:
  explicit AddInFixture(EngineChoice engine = EngineChoice::kScripted,
                        std::string outlook_version = "9.0.0.2711");
  ~AddInFixture() override;
  /// Disconnects, checks and resets the process. Overriding ones call it.
  void TearDown() override;

  /// From now on the forms are shown there.
  void InstallHostWith(platform::Ui& back_end);

  /// What Outlook does at its start and end. The trace switch is then as it is stored: on, unless
  /// the test stored another.
  void ConnectAddIn();
  void DisconnectAddIn();

  /// Fixed values and switches of the edition, the user's preferences, a secured address.
  void SetEdition(std::string_view name, std::string_view text);
  void SetEditionSwitch(std::string_view name, std::int32_t number);
  void SetPreference(std::string_view name, std::int32_t number);
  void StoreAccount(std::string_view address, bool signs = false);
  /// The stored addresses, each with " (signs)" behind it where that is stored; as the file has it.
  std::vector<std::string> StoredAccounts();
  /// A number among the user's stored preferences; 0 when missing.
  std::int32_t Preference(std::string_view name);

  /// The trace's entries without their time stamps.
  std::vector<std::string> Trace();
  void ClearTrace();
  /// Error lines that begin so are expected.
  void AllowError(std::string beginning);
  /// The error lines in the trace that were not allowed; the test fails at its end for each.
  std::vector<std::string> UnexpectedErrors();

  /// The files below the profile that hold the text, relative to it.
  std::vector<std::string> FilesHolding(std::string_view text) const;
  /// What is in the folder for temporary files, folders left out, relative to it.
  std::vector<std::string> TemporaryFiles() const;

  /// Every call of that name fails until `faults.on_call` is cleared.
  void FailCalls(std::string_view name, const Error& error = {5, "lost"});
  /// The platform calls that the action makes.
  std::vector<std::string> CallsOf(const std::function<void()>& action);
  static std::vector<std::string> LoadedFormNames();

  /// The real engine's keys: generate, import, list. Before the add-in makes its engine.
  engine::OpenPgpEngine& Keys();

  TempFolder profile;
  desk::ProfileFiles files{profile / "drive_c"};
  desk::RegistryFile registry{profile / "registry.reg"};
  desk::MemoryClipboard clipboard;
  TestClock clock;
  TestShell shell;
  ScriptedInet inet;
  mime::MimeReader mime;
  ScriptedEngineFactory scripted_engine;
  FaultInjector faults;
  RecordingObserver observer;
  ScriptedUi ui;
  desk::OutlookModel outlook;

 private:
  engine::EngineConfig EngineSetup();

  std::unique_ptr<platform::EngineFactory> real_engine_;
  std::shared_ptr<engine::OpenPgpEngine> keys_;
  std::unique_ptr<platform::Files> faulty_files_ = WithFaults(files, faults);
  desk::FilePictures pictures_{*faulty_files_};
  std::unique_ptr<platform::Registry> faulty_registry_ = WithFaults(registry, faults);
  std::unique_ptr<platform::EngineFactory> faulty_engine_;
  std::unique_ptr<platform::Redemption> faulty_redemption_ =
      WithFaults(outlook.Redemption(), faults);
  std::unique_ptr<platform::Cdo> faulty_cdo_ = WithFaults(outlook.Cdo(), faults);
  std::unique_ptr<Connect> connect_;
  std::vector<std::string> allowed_errors_;
};

/// Compares a text with tests/golden/<name>.txt. With CORVESSA_WRITE_GOLDEN in the environment the
/// file is written instead, to be read over before it is committed.
void ExpectGolden(std::string_view name, const std::string& text);
/// The same of a trace, an entry a line, and of a form's dump.
void ExpectGolden(std::string_view name, const std::vector<std::string>& trace);
void ExpectGoldenForm(std::string_view name, const Form& form);

}  // namespace corvessa::testing
