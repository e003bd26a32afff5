#include <algorithm>
#include <filesystem>

#include "accounts/address_dialogs.h"
#include "accounts/frm_manage_user_keys.h"
#include "accounts/nimbra_account.h"
#include "addin/frm_splash_screen.h"
#include "addin/outlook_support.h"
#include "addin/outlook_version.h"
#include "addin/trace_log.h"
#include "base/debug_info.h"
#include "crypto/crypto_operations.h"
#include "crypto/frm_timer.h"
#include "crypto/temp_files.h"
#include "settings/edition.h"
#include "settings/settings.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

using Lines = std::vector<std::string>;

class Startup : public AddInFixture {
 protected:
  /// With the trace switch on before the settings are loaded, so that the whole sequence can be
  /// seen and not only what follows the load.
  void ConnectTracing() {
    g_bLogDebuggingInfo = true;
    connect_.AddinInstance_OnConnection(outlook.Application());
  }

  void Disconnect() { connect_.AddinInstance_OnDisconnection(); }

  void TearDown() override {
    Disconnect();
    AddInFixture::TearDown();
  }

  desk::ExplorerWindowPtr explorer = outlook.AddExplorer();

 private:
  Connect connect_;
};

// The explorer's node asks its registry for its own release once more when it is destroyed.
const Lines kClosingDown = {"Closedown",
                            "ActiveExplorers::Release - Invalid procedure call or argument"};
const Lines kTracking = {"Initializing plugin...", "Initializing inspectors...",
                         "Inspectors initialized..."};

Lines TrackingAnd(const Lines& more) {
  Lines lines = kTracking;
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

const Lines kStarting = TrackingAnd({"Launching splash screen...", "Initializing key server..."});

TEST_F(Startup, NormallyBringsUpEngineAndTimerAndClosesDownInOrder) {
  StoreAccount("ann@example.org", true);
  SetEdition("EnginePGPMessageHeader", "Corvessa message");
  SetEdition("EnginePGPSignatureHeader", "Corvessa signature");
  SetEdition("EngineCustomerID", "c-1");
  SetEdition("EngineLookupServer", "http://lookup");
  SetEdition("EngineUpdateServer", "http://update");
  ConnectTracing();

  EXPECT_EQ(Trace(), kStarting);
  EXPECT_EQ(scripted_engine.engine->Calls(),
            (std::vector<ScriptedEngine::Call>{
                {"InitEngine", {}},
                {"SetOption", {"pgpMessageHeader", "Corvessa message"}},
                {"SetOption", {"pgpSignatureHeader", "Corvessa signature"}},
                {"SetOption", {"customerID", "c-1"}},
                {"SetOption", {"lookupKeyservers", "http://lookup"}},
                {"SetOption", {"updateKeyservers", "http://update"}},
                {"InitEngine", {}},
                {"QueryKeyPair", {"ann@example.org"}}}));
  EXPECT_EQ(LoadedFormNames(), Lines{"frmTimer"});
  EXPECT_EQ(ui.Shown(), Lines{"frmSplashScreen"});
  EXPECT_EQ(g_sOptionsCaption + g_sStatusCaption + g_sDecryptNowCaption +
                g_sDecryptAttachmentsCaption + g_sEncryptedReplyCaption,
            "Corvessa OptionsCorvessa StatusCorvessa Decrypt NowCorvessa Decrypt Attachments"
            "Corvessa Encrypted Reply");

  // A second one keeps the windows and the delete queue.
  QueueForDeletion("c:\\temp\\gone.txt");
  ClearTrace();
  g_oOutlookSupport->Initialise(outlook.Application());
  EXPECT_EQ(Trace(), (Lines{"Initializing plugin...", "Launching splash screen...",
                            "Initializing key server..."}));
  EXPECT_EQ(g_colTempFiles, Lines{"c:\\temp\\gone.txt"});
  EXPECT_EQ(LoadedFormNames(), Lines{"frmTimer"});

  const std::string queued = files.TemporaryFolder() + "plain.txt";
  files.Write(queued, "canary");
  QueueForDeletion(queued);
  const NimbraAccountPtr held = g_colAccounts.front();
  held->m_sPassword.Assign("open sesame");
  held->SetAuthenticated(true);
  ClearTrace();
  Disconnect();
  EXPECT_EQ(Trace(), kClosingDown);
  EXPECT_EQ(FilesHolding("canary"), Lines{});
  EXPECT_TRUE(held->m_sPassword.IsEmpty());
  EXPECT_FALSE(held->GetAuthenticated());
  EXPECT_TRUE(g_colTempFiles.empty() && g_colAccounts.empty());
  EXPECT_EQ(LoadedFormNames(), Lines{});
  EXPECT_EQ(g_oCrypto, nullptr);
  EXPECT_EQ(scripted_engine.engine.use_count(), 1);
}

TEST_F(Startup, NamesAMissingComponentOnce) {
  StoreAccount("ann@example.org", true);
  outlook.AddExplorer();
  outlook.Cdo().installed = false;
  ui.ExpectBox(
      "Corvessa Professional for Outlook needs software that is missing on this computer:\r\n\r\n"
      "- Collaboration Data Objects 1.21 (MAPI.Session). Until they are installed, recipients "
      "without an Internet address are not resolved.\r\n\r\n"
      "Ask your administrator to install it. This message is not shown again.");
  for (int start = 0; start < 2; ++start) {
    ConnectTracing();
    EXPECT_EQ(LoadedFormNames(), Lines{"frmTimer"});
    Disconnect();
  }
}

TEST_F(Startup, OnAnUnknownVersionOnlyTellsTheUser) {
  const std::pair<const char*, bool> versions[] = {
      {"9.0.0.2711", true}, {"10.0.2627", true},  {"11.0.5510", true}, {"9.5", true},
      {"10.5", true},       {"12.0.4518", false}, {"8.0", false},      {"8.5", false},
      {"11.5", false},      {"", false}};
  for (const auto& [version, is_compatible] : versions) {
    desk::OutlookModel other({.version = version});
    EXPECT_EQ(IsCompatibleOutlookVersion(*other.Application()), is_compatible) << version;
  }

  SetEdition("URLMain", "http://www.example.org/corvessa");
  ui.ExpectBox(
      "Corvessa Professional for Outlook is not currently compatible with this version of "
      "Outlook.\r\nFor more information, visit the following URL:\r\n\r\n\t"
      "http://www.example.org/corvessa");
  desk::OutlookModel newer({.version = "12.0.4518"});
  Connect connect;
  connect.AddinInstance_OnConnection(newer.Application());
  EXPECT_EQ(g_oOutlookSupport, nullptr);
  EXPECT_FALSE(g_bSettingsLoaded);
  EXPECT_EQ(scripted_engine.engines_created, 0);
  connect.AddinInstance_OnDisconnection();
}

TEST_F(Startup, WhenDisabledTracksWindowsButStartsNothing) {
  SetPreference("DisableKVPEntirely", -1);
  StoreAccount("ann@example.org");
  ConnectTracing();
  EXPECT_EQ(Trace(), kTracking);
  EXPECT_EQ(ui.Shown(), Lines{});
  EXPECT_EQ(scripted_engine.engines_created, 0);
  EXPECT_EQ(LoadedFormNames(), Lines{});

  // Enabled later in the dialog, the first to need the engine and the timer gets them.
  g_bDisableKVPEntirely = false;
  EXPECT_EQ(Crypto()->HasKeypair("ann@example.org"), 1);
  EXPECT_EQ(Crypto(), g_oCrypto);
  StartHousekeeping();
  EXPECT_EQ(LoadedFormNames(), Lines{"frmTimer"});
  EXPECT_TRUE(LoadedFormsOf<frmTimer>().front()->tmrTimer.Enabled());

  ClearTrace();
  Disconnect();
  EXPECT_EQ(Trace(), kClosingDown);
}

TEST_F(Startup, WithoutAccountsOrKeysLeadsToThemUnlessKeyGenerationIsOff) {
  for (int i = 0; i < 2; ++i) {
    ui.Expect<frmManageUserKeys>("frmManageUserKeys", [](frmManageUserKeys&) {
      const Lines names = LoadedFormNames();
      EXPECT_EQ(std::ranges::count(names, "frmSplashScreen"), 0);
    });
  }
  ui.ExpectBox(
      "You have not configured any of your email accounts\r\n"
      "to send or receive secure email.\r\n\r\nWould you like to do this now?",
      platform::kAnswerCancel);
  ConnectTracing();
  EXPECT_EQ(Trace(), kStarting);
  EXPECT_EQ(LoadedFormNames(), (Lines{"frmManageUserKeys", "frmTimer"}));
  ClearTrace();
  Disconnect();
  EXPECT_EQ(Trace(), kClosingDown);

  scripted_engine.engine->Always("QueryKeyPair", {.status = -13});
  StoreAccount("ann@example.org");
  StoreAccount("ann@work.example");
  ui.AllowForm("frmModalShowInTaskbar");
  ui.Expect<frmNoKeyPairs>("frmNoKeyPairs", [&](frmNoKeyPairs& form) {
    EXPECT_EQ(form.lstEmailAddr.Describe(), R"({"ann@example.org", "ann@work.example"})");
    form.cmdCancel.Press();
  });
  ConnectTracing();
  Disconnect();

  SetEditionSwitch("DisableKeyGen", 1);
  ui.ClearShown();
  ConnectTracing();
  EXPECT_EQ(ui.Shown(), Lines{"frmSplashScreen"});
}

TEST_F(Startup, ShowsEachStepOnTheSplashScreen) {
  StoreAccount("ann@example.org");
  SetEdition("URLUpdate", "http://update.example/latest");
  inet.pages["http://update.example/latest"] = "<major>1</major>";
  Lines captions;
  ui.on_do_events = [&](int) {
    for (const FormPtr& form : LoadedForms()) {
      const auto splash = std::dynamic_pointer_cast<frmSplashScreen>(form);
      if (!splash || !splash->IsTopmost()) continue;
      captions.push_back(splash->lblCaption.Caption());
      EXPECT_EQ(splash->imgSplashImage.Picture()->source,
                "c:\\Corvessa\\Customization\\59hSplashImage.jpg");
    }
  };
  ConnectTracing();
  EXPECT_EQ(captions,
            (Lines{"", "Checking for product updates...", "Initializing key server...",
                   "Initializing secure email addresses...", "Searching for encryption keys...",
                   "Searching for encryption keys for ann@example.org..."}));
  EXPECT_EQ(Trace(), TrackingAnd({"Launching splash screen...", "Checking for product updates...",
                                  "Initializing key server..."}));
  // The check must not have loaded the address dialog, whose load saves the registry.
  EXPECT_EQ(Preference("DisableOutgoingSigning"), 0);
}

TEST_F(Startup, ThatFailsHalfWayKeepsWhatWasMadeAndClosesDownQuietly) {
  StoreAccount("ann@example.org");
  scripted_engine.refusal = Error{429, "ActiveX component can't create object"};
  AllowError("CryptoOperations::Class_Initialize: ");
  AllowError("OutlookSupport::Initialise - ");
  ConnectTracing();
  EXPECT_EQ(Trace(), TrackingAnd({"Launching splash screen...", "Initializing key server...",
                                  "CryptoOperations::Class_Initialize: "
                                  "ActiveX component can't create object",
                                  "OutlookSupport::Initialise - "
                                  "Object variable or With block variable not set"}));
  EXPECT_EQ(g_oCrypto, nullptr);

  // Whoever needs the engine next tries again.
  scripted_engine.refusal.reset();
  EXPECT_EQ(Crypto()->HasKeypair("ann@example.org"), 1);
  EXPECT_EQ(LoadedFormNames(), (Lines{"frmSplashScreen", "frmTimer"}));
  Disconnect();
}

TEST_F(Startup, ADisconnectionDuringAnyOfItsPaintsLosesAndLeavesNothing) {
  StoreAccount("ann@example.org", true);
  SetPreference("PassphraseMemory", 7);
  AllowError("OutlookSupport::Initialise - ");
  bool disconnected = true;
  for (int paint = 1; disconnected; ++paint) {
    disconnected = false;
    int paints = 0;
    ui.on_do_events = [&](int) {
      if (++paints != paint) return;
      disconnected = true;
      Disconnect();
    };
    ConnectTracing();
    ui.on_do_events = {};
    EXPECT_EQ(LoadedFormNames(), disconnected ? Lines{} : Lines{"frmTimer"}) << paint;
    EXPECT_EQ(g_oCrypto == nullptr, disconnected) << paint;
    EXPECT_EQ(StoredAccounts(), Lines{"ann@example.org (signs)"}) << paint;
    EXPECT_EQ(Preference("PassphraseMemory"), 7) << paint;
  }
}

TEST_F(Startup, NoFailedPlatformCallGetsPastItOrCloseDown) {
  ui.AllowEverything();
  AllowError("");
  const Lines accounts = {"ann@example.org (signs)", "ann@example.net"};
  // Until the run in which no call is left to fail.
  std::size_t failed_calls = 0;
  for (;; ++failed_calls) {
    StoreAccount("ann@example.org", true);
    StoreAccount("ann@example.net");
    faults.FailAt(failed_calls + 1);
    const std::string& failed = faults.Failed();
    EXPECT_NO_THROW(ConnectAddIn()) << failed;
    EXPECT_NO_THROW(DisconnectAddIn()) << failed;
    EXPECT_EQ(LoadedFormNames(), Lines{}) << failed;
    // A list that the registry does not give counts as empty, and the dialog that is offered then
    // saves it so.
    EXPECT_TRUE(failed.starts_with("RegistryKey::") || StoredAccounts() == accounts) << failed;
    if (failed.empty()) break;
  }
  EXPECT_GT(failed_calls, 50U);
  // That a search for what must not be there would find it.
  registry.WriteString("HKEY_CURRENT_USER\\Leak", "Text", "a canary");
  EXPECT_EQ(FilesHolding("canary"), Lines{"registry.reg"});
}

TEST_F(Startup, AWindowThatOpensDuringCloseDownIsLeftAloneAndTheEngineGoesAtOnce) {
  StoreAccount("ann@example.org", true);
  ConnectAddIn();
  outlook.Open(outlook.NewMail());
  ClearTrace();
  AllowError("ActiveExplorers::Release - ");
  // As a send under way holds them.
  const auto support = g_oOutlookSupport;
  const auto crypto = g_oCrypto;
  int opened = 0;
  faults.on_call = [&](std::string_view call) {
    if (call.find("Delete") == std::string_view::npos || opened++ > 3) return;
    outlook.Open(outlook.NewMail());
  };
  DisconnectAddIn();
  faults.on_call = nullptr;
  EXPECT_GT(opened, 0);
  EXPECT_EQ(scripted_engine.engine.use_count(), 1);

  g_bLogDebuggingInfo = true;
  ClearTrace();
  support->m_oExplorers_NewExplorer(outlook.AddExplorer());
  support->m_oInspectors_NewInspector(outlook.Open(outlook.NewMail()));
  const std::string not_set = " - Object variable or With block variable not set";
  EXPECT_EQ(Trace(), (Lines{"OutlookSupport::m_oExplorers_NewExplorer" + not_set,
                            "OutlookSupport::m_oInspectors_NewInspector" + not_set}));
  AllowError("OutlookSupport::m_o");
}

TEST_F(Startup, ServesTheWindowsThatAreOpenAndThoseThatOpenLaterUntilTheDisconnection) {
  StoreAccount("ann@example.org");
  const auto item = outlook.NewMail();
  outlook.Open(item);
  ConnectAddIn();
  ClearTrace();
  item->SetBody("x");
  EXPECT_EQ(Trace(), Lines{"MailItem PropertyChange Body"});

  desk::ExplorerWindowPtr later;
  EXPECT_EQ(CallsOf([&] { later = outlook.AddExplorer(); }), Lines{"Explorer.Subscribe"})
      << "the first explorer only has the button";

  AllowError("ActiveExplorers::Release - ");
  EXPECT_EQ(CallsOf([&] { DisconnectAddIn(); }),
            (Lines{"CommandBarButton.Delete", "MailItem.EntryID"}))
      << "the explorers go before the inspectors";
  g_bLogDebuggingInfo = true;
  ClearTrace();
  item->SetBody("y");
  outlook.CloseExplorer(later);
  outlook.CloseExplorer(explorer);
  EXPECT_EQ(Trace(), Lines{});
}

using TraceFile = AddInFixture;

TEST_F(TraceFile, IsWrittenLineByLineOnlyWhileTheSwitchIsOn) {
  g_bLogDebuggingInfo = false;
  Debug_Info::TraceLog("lost");
  bool built = false;
  Debug_Info::TraceLog([&] { return std::string(built = true, 'x'); });
  EXPECT_FALSE(built);
  EXPECT_FALSE(files.FileExists(Debug_Info::kTraceFile));

  g_bLogDebuggingInfo = true;
  Debug_Info::TraceLog("first");
  Debug_Info::TraceLog([] { return std::string("sec\r\nond\x1b\u202E\u009B"); });
  EXPECT_EQ(files.Read(Debug_Info::kTraceFile),
            "2/29/2004 11:58:07 PM: first\r\n2/29/2004 11:58:07 PM: sec\r\nond\r\n");
  const auto mode = std::filesystem::status(files.LocalPath(Debug_Info::kTraceFile)).permissions();
  EXPECT_EQ(mode, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(TraceFile, HoldsOneLineForEachAttributeInTheirOrder) {
  files.Write("c:\\plain.txt", "x");
  std::filesystem::permissions(files.LocalPath("c:\\plain.txt"),
                               std::filesystem::perms::owner_read);
  Debug_Info::TraceFileAttributes("c:\\plain.txt");
  files.CreateFolder("c:\\.hidden");
  Debug_Info::TraceFileAttributes("c:\\.hidden");
  Debug_Info::TraceFileAttributes("c:\\gone.txt");
  EXPECT_EQ(Trace(),
            (Lines{"Attribute: Read Only", "Attribute: Archive", "Attribute: Hidden",
                   "Attribute: Directory", "Debug_Info:TraceFileAttributes - File not found"}));
  AllowError("Debug_Info:TraceFileAttributes - ");
}

}  // namespace
}  // namespace corvessa::testing
