#include "branding/customization.h"

#include "base/debug_info.h"
#include "base/text.h"
#include "platform/host.h"
#include "support/addin_fixture.h"
#include "ui/controls.h"
#include "ui/form.h"

namespace corvessa {
namespace {

using namespace Customization;
using Lines = std::vector<std::string>;

class frmBranded final : public Form {
 public:
  frmBranded() : Form("frmBranded", "About <!-- LONGNAME -->", 100, 100) {}

  Image imgLogoImage{*this, "imgLogoImage", {}};
  Image imgOther{*this, "imgOther", {}};
  Label lblTwice{*this, "lblTwice", {}, "<!-- SHORTNAME --> and <!-- SHORTNAME -->"};
  CheckBox chkIt{*this, "chkIt", {}, "Use <!-- SHORTNAME -->"};
  CommandButton cmdIt{*this, "cmdIt", {}, "<!-- LONGNAME -->"};
  Frame fraIt{*this, "fraIt", {}, "<!-- SHORTNAME -->"};
};

using Brand = testing::AddInFixture;

TEST_F(Brand, NamesReplaceTheirPlaceholdersInCaptionsOnlyAndAMissingPictureCostsNoOther) {
  for (const bool has_picture : {true, false}) {
    const auto form = std::make_shared<frmBranded>();
    CustomizeForm(*form);
    EXPECT_EQ(form->Caption(), "About Corvessa Professional for Outlook");
    EXPECT_EQ(form->lblTwice.Caption(), "Corvessa and Corvessa");
    EXPECT_EQ(form->chkIt.Caption(), "Use Corvessa");
    EXPECT_EQ(form->cmdIt.Caption(), "Corvessa Professional for Outlook");
    EXPECT_EQ(form->fraIt.Caption(), "<!-- SHORTNAME -->");
    EXPECT_EQ(form->imgLogoImage.Picture() != nullptr, has_picture);
    EXPECT_FALSE(form->imgOther.Picture());
    if (has_picture) files.Delete("c:\\Corvessa\\Customization\\48hLogo.gif");
  }
  AllowError("Customize: ");
  EXPECT_EQ(Trace(), Lines{"Customize: Error customizing form \"frmBranded\", control "
                           "\"imgLogoImage\", 53 File not found"});
}

TEST_F(Brand, IconFollowsTheLongNameExactly) {
  const struct {
    const char* long_name;
    const char* icon;
  } cases[] = {{"Quillon Private for Outlook", "frmDummyIconQuillonPrivate"},
               {"Marrow-Guard for Outlook", "frmDummyIconMarrowGuard"},
               {"Quillon Private for Outlook ", "frmDummyIconCorvessa"},
               {"", "frmDummyIconCorvessa"}};
  for (const auto& c : cases) {
    SetEdition("AppLongName", c.long_name);
    EXPECT_EQ(GetAppIcon()->source, c.icon) << c.long_name;
  }
}

TEST_F(Brand, PagesGetTheAliasUnchangedAndOnlyWebAddressesOpen) {
  SetEdition("URLKeyGen", "https://keys.example/new?brand=1");
  SetEdition("URLPassphrase", "HTTP://keys.example/change");
  OpenKeyGenPage("a b&c@x.org");
  OpenPassphrasePage("ann@x.org");
  EXPECT_EQ(shell.pages, (Lines{"https://keys.example/new?brand=1&alias=a b&c@x.org",
                                "HTTP://keys.example/change?alias=ann@x.org"}));

  AllowError("Customization:OpenURL - ");
  for (const std::string refused :
       {"ftp://x.org", "file:///etc/passwd", "javascript:alert(1)", "/etc/passwd",
        "\\\\server\\share", "http://x.org/\r\n", "help:..\\..\\x.html", "help:a/b.html",
        "help:setup.exe", "help:.html", "help:x.exe?.html"}) {
    ui.ExpectErrorBox("Cannot open \"" + ForDisplay(refused) + "\": not an http or https address.");
    OpenURL(refused);
  }
  for (int i = 0; i < 2; ++i) ui.ExpectErrorBox("No address is configured for this page.");
  OpenHelpPage();
  OpenIMAPInfoPage("ann@x.org");
  EXPECT_EQ(shell.pages.size(), 2U);
  EXPECT_EQ(Trace().size(), 13U);

  shell.pages.clear();
  for (const char* page : {"www.x.org/a:b", "localhost:8080", "x.org?u=http://y.org"})
    OpenURL(page);
  EXPECT_EQ(shell.pages, (Lines{"http://www.x.org/a:b", "http://localhost:8080",
                                "http://x.org?u=http://y.org"}));
}

TEST_F(Brand, PagesOfTheHelpFolderOpenWithoutTheAlias) {
  SetEdition("URLKeyGen", "help:create-key.html");
  SetEdition("URLHelp", "help:index.html");
  OpenKeyGenPage("ann@x.org");
  OpenHelpPage();
  const std::string folder = platform::Host().product.folder + "\\help\\";
  EXPECT_EQ(shell.pages, (Lines{folder + "create-key.html", folder + "index.html"}));
}

TEST_F(Brand, ReadsANameOnlyWhereATextHoldsItAndTheShortOneFirst) {
  int reads = 0;
  faults.on_call = [&](std::string_view call) { reads += call == "RegistryKey::ReadString"; };
  EXPECT_EQ(SubstituteNames("<!-- shortname -->"), "<!-- shortname -->");
  EXPECT_EQ(reads, 0);
  EXPECT_EQ(SubstituteNames("<!-- SHORTNAME -->"), "Corvessa");
  EXPECT_EQ(reads, 1);
  faults.on_call = nullptr;
  SetEdition("AppLongName", "<!-- SHORTNAME -->");
  EXPECT_EQ(SubstituteNames("<!-- LONGNAME -->"), "<!-- SHORTNAME -->");
}

}  // namespace
}  // namespace corvessa
