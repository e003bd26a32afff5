#include "support/addin_fixture.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <utility>

#include "accounts/registry_handlers.h"
#include "addin/process_state.h"
#include "addin/trace_log.h"
#include "base/debug_info.h"
#include "base/text.h"
#include "desk/profile/pictures.h"
#include "platform/host.h"

namespace corvessa::testing {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kProductFolder = "c:\\Corvessa";
constexpr std::string_view kPluginKey =
    "Software\\Nimbra Communications\\Corvessa Professional\\Plugin\\";

/// An explorer's node that close-down lets go asks once more to be let go.
constexpr const char* kExpectedAtCloseDown =
    "ActiveExplorers::Release - Invalid procedure call or argument";

std::string PluginKey(std::string_view name) {
  return std::string(kPluginKey) + std::string(name);
}

platform::RegistryKeyPtr Opened(platform::RegistryKey& root, std::string_view name) {
  platform::RegistryKeyPtr key;
  EXPECT_EQ(root.Create(PluginKey(name), key), platform::kRegistrySuccess) << name;
  return key;
}

/// A line that the error boundary wrote, as "Class::Routine - ", "Module:Routine - " or
/// ":Routine - " and a description, or one of the places that word their own.
bool IsErrorLine(const std::string& entry) {
  static const std::regex error(
      R"(\w*::? ?\w+ - |AddDecryptAttachmentsBar Error - |AddEncryptionAndSigningStatusBar: )"
      R"(|AlreadySeenProductUpdateMessage: |CryptoOperations::Class_Initialize: |Customize: Error )"
      R"(|DeleteTemporaryFiles: Error (?!code: 0 \(\))|EncryptMailItem - Error "|haskeypair: )"
      R"(|GetMAPISession - Error encountered: |:StoreAllAttachments/4a/)"
      R"(|m_oApplication_ItemSend: (?!Sending original$))");
  return std::regex_search(entry, error, std::regex_constants::match_continuous);
}

/// The ordinary files below a folder that satisfy a condition, relative to it, sorted.
template <typename Condition>
std::vector<std::string> FilesBelow(const fs::path& folder, Condition condition) {
  std::vector<std::string> found;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file() || !condition(entry.path())) continue;
    found.push_back(fs::relative(entry.path(), folder).string());
  }
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace

AddInFixture::AddInFixture(EngineChoice engine, std::string outlook_version)
    : outlook({.version = std::move(outlook_version),
               .map_path = [this](std::string_view path) { return files.LocalPath(path); },
               .clipboard = &clipboard,
               .owner = {"Ann Example", "ann@example.org"}}) {
  // While a key is open nothing is saved; no test needs this on disk.
  const auto open_meanwhile = Opened(registry.LocalMachine(), "Version");
  SetEdition("AppShortName", "Corvessa");
  SetEdition("AppLongName", "Corvessa Professional for Outlook");
  SetPreference("LogDebuggingInfo", 1);
  files.CreateFolder(kProductFolder);
  desk::WriteBrandPictures(files, kProductFolder);
  for (const char* form : {"frmSplashScreen", "frmProgress"}) ui.AllowForm(form);
  if (engine == EngineChoice::kReal) real_engine_ = engine::CreateEngineFactory(EngineSetup());
  faulty_engine_ = WithFaults(real_engine_ ? *real_engine_ : scripted_engine, faults);
  InstallHostWith(ui);
  ui.before_call = [this](std::string_view call) { faults(call); };
  faults.FailAt(0);
  g_bLogDebuggingInfo = true;
}

AddInFixture::~AddInFixture() {
  platform::RemoveHost();
}

void AddInFixture::InstallHostWith(platform::Ui& back_end) {
  // As Connect does: many tests run a part of the add-in without it.
  Debug_Info::InstallTraceLog();
  platform::RemoveHost();
  const platform::ProductInfo product{1, 0, 0, std::string(kProductFolder)};
  platform::InstallHost({*faulty_cdo_, clipboard, clock, *faulty_engine_, *faulty_files_, inet,
                         pictures_, *faulty_redemption_, *faulty_registry_, shell, back_end,
                         product, &observer, &mime});
}

engine::EngineConfig AddInFixture::EngineSetup() {
  return {.rings_folder = profile / "keys",
          .adk_file = profile / "adk.txt",
          .local_path = [this](std::string_view path) { return files.LocalPath(path); },
          .new_temporary_path = [this] { return files.FreshTemporaryPath(); },
          .passphrase_work = 1U << 16};
}

engine::OpenPgpEngine& AddInFixture::Keys() {
  if (!keys_) keys_ = engine::CreateOpenPgpEngine(EngineSetup());
  return *keys_;
}

void AddInFixture::TearDown() {
  faults.FailAt(0);
  DisconnectAddIn();
  AllowError(kExpectedAtCloseDown);
  for (const std::string& entry : UnexpectedErrors()) ADD_FAILURE() << "in the trace: " << entry;
  ui.FailOnMissing();
  ResetProcessState();
}

void AddInFixture::ConnectAddIn() {
  g_bLogDebuggingInfo = false;
  connect_ = std::make_unique<Connect>();
  connect_->AddinInstance_OnConnection(WithFaults(outlook.Application(), faults));
}

void AddInFixture::DisconnectAddIn() {
  if (const auto connected = std::exchange(connect_, nullptr)) {
    connected->AddinInstance_OnDisconnection();
  }
}

void AddInFixture::SetEdition(std::string_view name, std::string_view text) {
  registry.WriteString("HKEY_LOCAL_MACHINE\\" + PluginKey("Version"), name, text);
}

void AddInFixture::SetEditionSwitch(std::string_view name, std::int32_t number) {
  Opened(registry.LocalMachine(), "Version")->WriteNumber(name, number);
}

void AddInFixture::SetPreference(std::string_view name, std::int32_t number) {
  Opened(registry.CurrentUser(), "Global")->WriteNumber(name, number);
}

std::int32_t AddInFixture::Preference(std::string_view name) {
  return Opened(registry.CurrentUser(), "Global")->ReadNumber(name);
}

void AddInFixture::StoreAccount(std::string_view address, bool signs) {
  const auto key = Opened(registry.CurrentUser(), "Accounts\\" + std::string(address));
  key->WriteNumber("Sign", signs ? -1 : 0);
}

std::vector<std::string> AddInFixture::StoredAccounts() {
  const auto accounts = Opened(registry.CurrentUser(), "Accounts");
  std::vector<std::string> stored;
  std::string name;
  for (std::uint32_t i = 0; accounts->EnumerateKey(i, name) == platform::kRegistrySuccess; ++i) {
    platform::RegistryKeyPtr account;
    accounts->Open(name, account);
    stored.push_back(name + (account->ReadNumber("Sign") != 0 ? " (signs)" : ""));
  }
  return stored;
}

std::vector<std::string> AddInFixture::Trace() {
  std::vector<std::string> entries;
  if (!files.FileExists(Debug_Info::kTraceFile)) return entries;
  // A message may hold line breaks itself; the stamp begins an entry.
  const std::string stamp = std::string(kCrLf) + clock.text + ": ";
  const std::string text = std::string(kCrLf) + files.Read(Debug_Info::kTraceFile);
  for (std::size_t at = text.find(stamp); at != std::string::npos;) {
    const std::size_t start = at + stamp.size();
    at = text.find(stamp, start);
    entries.push_back(text.substr(start, std::min(at, text.size() - kCrLf.size()) - start));
  }
  return entries;
}

void AddInFixture::ClearTrace() {
  for (const std::string& entry : UnexpectedErrors()) ADD_FAILURE() << "in the trace: " << entry;
  if (files.FileExists(Debug_Info::kTraceFile)) files.Delete(Debug_Info::kTraceFile);
}

void AddInFixture::AllowError(std::string beginning) {
  allowed_errors_.push_back(std::move(beginning));
}

std::vector<std::string> AddInFixture::UnexpectedErrors() {
  std::vector<std::string> errors = Trace();
  std::erase_if(errors, [&](const std::string& entry) {
    const bool allowed =
        std::any_of(allowed_errors_.begin(), allowed_errors_.end(),
                    [&](const std::string& beginning) { return entry.starts_with(beginning); });
    return allowed || !IsErrorLine(entry);
  });
  return errors;
}

void AddInFixture::FailCalls(std::string_view name, const Error& error) {
  faults.on_call = [failing = std::string(name), error](std::string_view call) {
    if (call == failing) throw error;
  };
}

std::vector<std::string> AddInFixture::CallsOf(const std::function<void()>& action) {
  std::vector<std::string> calls;
  faults.on_call = [&](std::string_view call) { calls.emplace_back(call); };
  action();
  faults.on_call = nullptr;
  return calls;
}

std::vector<std::string> AddInFixture::LoadedFormNames() {
  std::vector<std::string> names;
  for (const FormPtr& form : LoadedForms()) names.push_back(form->Name());
  return names;
}

std::vector<std::string> AddInFixture::FilesHolding(std::string_view text) const {
  return FilesBelow(profile.Path(), [&](const fs::path& path) {
    return ContentOf(path).find(text) != std::string::npos;
  });
}

std::vector<std::string> AddInFixture::TemporaryFiles() const {
  return FilesBelow(files.LocalPath("c:\\Temp"), [](const fs::path&) { return true; });
}

void ExpectGolden(std::string_view name, const std::string& text) {
  const std::string path = CORVESSA_GOLDEN_FOLDER "/" + std::string(name) + ".txt";
  if (std::getenv("CORVESSA_WRITE_GOLDEN")) {
    WriteContent(path, text);
    return;
  }
  EXPECT_EQ(text, ContentOf(path)) << path;
}

void ExpectGolden(std::string_view name, const std::vector<std::string>& trace) {
  std::string text;
  for (const std::string& entry : trace) text += entry + "\n";
  ExpectGolden(name, text);
}

void ExpectGoldenForm(std::string_view name, const Form& form) {
  ExpectGolden(name, form.Dump());
}

}  // namespace corvessa::testing
