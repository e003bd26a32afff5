#include "windows/outlook/session.h"

#include "base/error.h"
#include "win32/utf16.h"
#include "windows/com/create.h"

namespace corvessa::testing {
namespace {

constexpr auto kAddIn = L"CorvessaPro_OL.Connect";

void RequireAddIn() {
  DWORD behavior = 0;
  DWORD size = sizeof behavior;
  const std::wstring key = L"Software\\Microsoft\\Office\\Outlook\\Addins\\" + std::wstring(kAddIn);
  RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"LoadBehavior", RRF_RT_REG_DWORD, nullptr,
               &behavior, &size);
  if (behavior != 3) Raise(kInvalidArgument, "no add-in is registered to be loaded at start");
}

desk::OutlookOptions OptionsOf(const Json& command, platform::Clipboard& clipboard) {
  const std::string version = String(command, "version");
  const Json owner = command.value("owner", Json::object());
  return {.version = version.empty() ? "9.0.0.2711" : version,
          .map_path =
              [](std::string_view path) { return std::filesystem::path(win32::ShownUtf16(path)); },
          .clipboard = &clipboard,
          .owner = {String(owner, "name"), String(owner, "address")}};
}

desk::Directory::List EntriesOf(const Json& list) {
  desk::Directory::List entries;
  for (const Json& one : list) {
    entries.push_back(
        {String(one, "name"), String(one, "address"), String(one, "id"), String(one, "smtp")});
  }
  return entries;
}

/// No error of the add-in reaches Outlook.
void NoteError(HRESULT result) {
  if (FAILED(result)) ++TheLedger().errors;
}

}  // namespace

Session::Session(const Json& command)
    : model(OptionsOf(command, clipboard)),
      libraries(model, command.value("missing", std::vector<std::string>())) {
  RequireAddIn();
  model.AddExplorer();
  model.SetWordMail(command.value("word", false));
  for (const Json& list : command.value("lists", Json::array())) {
    model.AddressLists().AddList(EntriesOf(list));
  }
  application = ServeApplication(model);
}

void Session::Start() {
  add_in = com::CreateByProgId<IDTExtensibility2>(kAddIn);
  // Connected while Outlook starts.
  const auto held = add_in;
  NoteError(held->OnConnection(application.Get(), 1, nullptr, nullptr));
  // It may quit while the add-in asks something.
  if (add_in) NoteError(held->OnAddInsUpdate(nullptr));
  if (add_in) NoteError(held->OnStartupComplete(nullptr));
}

void Session::End() {
  if (!add_in) return;
  const auto open = model.Inspectors();
  for (const auto& window : open) model.Close(window);
  NoteError(add_in->OnAddInsUpdate(nullptr));
  NoteError(add_in->OnBeginShutdown(nullptr));
  NoteError(add_in->OnDisconnection(0, nullptr));
  add_in.Reset();
  application.Reset();
}

}  // namespace corvessa::testing
