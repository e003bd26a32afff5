#include "branding/customization.h"

#include <memory>

#include "base/debug_info.h"
#include "base/guard.h"
#include "base/text.h"
#include "branding/message_box.h"
#include "platform/host.h"
#include "platform/system.h"
#include "settings/edition.h"
#include "ui/controls.h"
#include "ui/form.h"

namespace corvessa::Customization {
namespace {

using RegistryHandlers::GetVersionValue;

/// From the folder "Customization" beside the add-in's own file.
platform::PicturePtr LoadBrandPicture(std::string_view relative_path) {
  const platform::HostServices& host = platform::Host();
  return host.pictures.Load(host.product.folder + std::string(relative_path));
}

/// The name of the hidden form whose icon the brand shows.
std::string_view IconForm(std::string_view long_name) {
  if (long_name == "Quillon Private for Outlook") return "frmDummyIconQuillonPrivate";
  if (long_name == "Marrow-Guard for Outlook") return "frmDummyIconMarrowGuard";
  return "frmDummyIconCorvessa";
}

/// Reads the name only if the text needs it: a form has many captions and few placeholders, and
/// every name is read from the registry anew.
std::string Substitute(std::string_view text, std::string_view placeholder, std::string (*name)()) {
  if (text.find(placeholder) == std::string_view::npos) return std::string(text);
  return Replace(text, placeholder, name());
}

void CustomizeControl(Control& control) {
  if (auto* image = dynamic_cast<Image*>(&control)) {
    if (image->Name() == "imgLogoImage") image->SetPicture(GetLogoPicture());
    if (image->Name() == "imgSplashImage") image->SetPicture(GetSplashPicture());
    return;
  }
  const std::string_view type = control.TypeName();
  if (type != "Label" && type != "CheckBox" && type != "CommandButton") return;
  auto& captioned = dynamic_cast<CaptionedControl&>(control);
  captioned.SetCaption(SubstituteNames(captioned.Caption()));
}

void TraceCustomizeError(const Form& form, std::string_view control, const Error& error) {
  if (error.number == 0) return;
  Debug_Info::TraceLog("Customize: Error customizing form \"" + form.Name() + "\", control \"" +
                       std::string(control) + "\", " + Decimal(error.number) + " " +
                       error.description);
}

/// Whether a colon ends a scheme and does not begin a port.
bool HasScheme(std::string_view url) {
  const std::size_t colon = url.find_first_of(":/?#");
  if (colon == std::string_view::npos || url[colon] != ':') return false;
  return colon + 1 == url.size() || url[colon + 1] < '0' || url[colon + 1] > '9';
}

/// Adds the scheme that browsers assume; a text that cannot begin with a host stays as it is.
std::string WithScheme(std::string_view url) {
  const bool begins_with_host =
      !url.empty() && std::string_view("/\\?#:. -").find(url.front()) == std::string_view::npos;
  return (begins_with_host && !HasScheme(url) ? "http://" : "") + std::string(url);
}

/// The file of "help:PAGE" in the product's help folder, without what a dialog has appended; "" for
/// anything else. A page is a plain file name, so that none outside the folder can be named.
std::string HelpPage(std::string_view url) {
  constexpr std::string_view kScheme = "help:";
  constexpr std::string_view kAllowed =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";
  constexpr std::string_view kEnding = ".html";
  if (!url.starts_with(kScheme)) return {};
  std::string_view page = url.substr(kScheme.size());
  page = page.substr(0, page.find_first_of("?&"));
  if (!page.ends_with(kEnding)) return {};
  const std::string_view name = page.substr(0, page.size() - kEnding.size());
  if (name.empty() || name.find_first_not_of(kAllowed) != std::string_view::npos) return {};
  return platform::Host().product.folder + "\\help\\" + std::string(page);
}

std::string DescribeRefusal(std::string_view url) {
  if (url.empty() || url.starts_with('?')) return "No address is configured for this page.";
  return "Cannot open \"" + ForDisplay(url) + "\": not an http or https address.";
}

void OpenAliasPage(std::string_view value_name, std::string_view alias) {
  OpenURL(AddressWithAlias(GetVersionValue(value_name), alias));
}

}  // namespace

platform::PicturePtr GetToolbarPicture() {
  return LoadBrandPicture("\\Customization\\16x16Icon.bmp");
}

platform::PicturePtr GetLogoPicture() {
  return LoadBrandPicture("\\Customization\\48hLogo.gif");
}

platform::PicturePtr GetSplashPicture() {
  return LoadBrandPicture("\\Customization\\59hSplashImage.jpg");
}

platform::PicturePtr GetAppIcon() {
  auto icon = std::make_shared<platform::Picture>();
  icon->type = platform::PictureType::kIcon;
  icon->source = IconForm(AppLongName());
  return icon;
}

std::string SubstituteNames(std::string_view text) {
  const std::string with_short = Substitute(text, "<!-- SHORTNAME -->", AppShortName);
  return Substitute(with_short, "<!-- LONGNAME -->", AppLongName);
}

void CustomizeForm(Form& form) {
  TraceCustomizeError(form, "", Attempt([&] {
                        form.SetWindowCaption(SubstituteNames(form.Caption()));
                        form.SetIcon(GetAppIcon());
                      }));
  for (Control* control : form.Controls()) {
    TraceCustomizeError(form, control->Name(), Attempt([&] { CustomizeControl(*control); }));
  }
}

void OpenIMAPInfoPage(std::string_view alias) {
  OpenAliasPage("URLIMAPInfo", alias);
}
void OpenKeyGenPage(std::string_view alias) {
  OpenAliasPage("URLKeyGen", alias);
}
void OpenPassphrasePage(std::string_view alias) {
  OpenAliasPage("URLPassphrase", alias);
}
void OpenMainPage() {
  OpenURL(GetVersionValue("URLMain"));
}
void OpenHelpPage() {
  OpenURL(GetVersionValue("URLHelp"));
}
void OpenHelpAddInstructionsPage() {
  OpenURL(GetVersionValue("URLHelpAddInstructions"));
}
void OpenToolsPage() {
  OpenURL(GetVersionValue("URLTools"));
}

void OpenURL(std::string_view url) {
  Guarded("Customization:OpenURL - ", [&] {
    if (const std::string file = HelpPage(url); !file.empty()) {
      return platform::Host().shell.OpenPage(file);
    }
    const std::string page = WithScheme(url);
    if (!IsWebAddress(page) || HoldsControlCharacter(page)) {
      const std::string problem = DescribeRefusal(url);
      TellError(problem);
      Raise(kInvalidArgument, problem);
    }
    platform::Host().shell.OpenPage(page);
  });
}

std::string AddressWithAlias(std::string_view url, std::string_view alias) {
  const std::string_view separator = url.find('?') == std::string_view::npos ? "?" : "&";
  return std::string(url).append(separator).append("alias=").append(alias);
}

}  // namespace corvessa::Customization
