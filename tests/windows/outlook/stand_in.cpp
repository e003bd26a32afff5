#include "windows/outlook/stand_in.h"

#include <algorithm>
#include <array>
#include <span>
#include <windows.h>

#include "base/error.h"
#include "windows/outlook/other_program.h"
#include "windows/outlook/user_profile.h"

namespace corvessa::testing {
namespace {

BOOL CALLBACK CountOwn(HWND window, LPARAM count) {
  wchar_t name[64] = {};
  GetClassNameW(window, name, 64);
  if (std::wstring_view(name).starts_with(L"Corvessa")) ++*reinterpret_cast<int*>(count);
  return TRUE;
}

/// What the add-in has left behind.
Json Remains() {
  CoFreeUnusedLibrariesEx(0, 0);
  int windows = 0;
  EnumThreadWindows(GetCurrentThreadId(), CountOwn, reinterpret_cast<LPARAM>(&windows));
  return {{"references", TheLedger().references},
          {"objects", TheLedger().objects},
          {"windows", windows},
          {"errors", std::exchange(TheLedger().errors, 0)},
          {"loaded", GetModuleHandleW(L"CorvessaPro_OL.dll") != nullptr}};
}

/// Bytes of all heaps that are in use.
std::size_t BytesInUse() {
  std::array<HANDLE, 64> heaps{};
  const DWORD count = GetProcessHeaps(heaps.size(), heaps.data());
  std::size_t bytes = 0;
  for (const HANDLE heap : std::span(heaps).first(std::min<std::size_t>(count, heaps.size()))) {
    PROCESS_HEAP_ENTRY entry = {};
    HeapLock(heap);
    while (HeapWalk(heap, &entry)) {
      if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += entry.cbData;
    }
    HeapUnlock(heap);
  }
  return bytes;
}

Json Stats(const Json& /*command*/) {
  Ledger& ledger = TheLedger();
  int total = 0;
  for (const auto& [call, count] : ledger.calls) total += count;
  return {{"calls", std::exchange(ledger.calls, {})},
          {"total", total},
          {"references", ledger.references},
          {"objects", ledger.objects},
          {"failed", ledger.failed},
          {"heap", BytesInUse()}};
}

Json Fail(const Json& command) {
  Ledger& ledger = TheLedger();
  ledger.fails_after = command.value("call", 0);
  ledger.failures = command.value("times", 1);
  ledger.failed.clear();
  ledger.failure =
      static_cast<HRESULT>(std::stoul(command.value("hresult", "0x80004005"), nullptr, 16));
  return Json::object();
}

}  // namespace

Session& StandIn::Running() {
  if (!session_) Raise(kInvalidArgument, "not connected");
  return *session_;
}

desk::ItemPtr StandIn::ItemOf(const Json& command) {
  const auto found = Running().windows.find(command.value("window", 0));
  if (found == Running().windows.end()) Raise(kInvalidArgument, "no such window");
  return found->second;
}

Json StandIn::Connect(const Json& command) {
  if (session_) Raise(kInvalidArgument, "connected already");
  session_.emplace(command);
  session_->Start();
  const auto explorer = session_->model.Explorers().front();
  const auto button = explorer->Bars().FindTagged("CorvessaPro_OL.");
  return {{"button", button ? button->Properties().caption : ""},
          {"face", button && button->Properties().pasted_face},
          {"mask", button && button->Properties().pasted_mask}};
}

Json StandIn::Disconnect(const Json& /*command*/) {
  Running().End();
  // What waits for a dialog still uses the session.
  if (depth_ > 1) return {{"ended", true}};
  session_.reset();
  user_.ForgetAnswers();
  return Remains();
}

Json StandIn::OpenMail(const Json& command) {
  auto& model = Running().model;
  return Open(model.AddReceived(ItemDataOf(command.at("mail"), model)));
}

Json StandIn::Compose(const Json& command) {
  Session& session = Running();
  desk::ItemData data = ItemDataOf(command.at("mail"), session.model);
  data.folder = desk::kDrafts;
  const auto item = session.model.AddItem(std::move(data));
  if (!command.value("external", false)) return Open(item);
  session.windows[++session.last_window] = item;
  return {{"window", session.last_window}};
}

Json StandIn::Open(const desk::ItemPtr& item) {
  Session& session = Running();
  const auto window = session.model.Open(item);
  if (!window) return {{"cancelled", true}};
  session.windows[++session.last_window] = item;
  Json answer = MailOf(item->Data());
  answer["window"] = session.last_window;
  answer["bars"] = BarsOf(window->Bars());
  return answer;
}

Json StandIn::Click(const Json& command) {
  const int window = command.value("window", 0);
  if (window == 0) {
    const auto explorer = Running().model.Explorers().front();
    return {{"clicked", desk::OutlookModel::Click(explorer->Bars(), String(command, "button"))}};
  }
  const auto item = ItemOf(command);
  const auto shown = item->WindowOrNew();
  const bool clicked = desk::OutlookModel::Click(shown->Bars(), String(command, "button"));
  Json answer = MailOf(item->Data());
  answer["clicked"] = clicked;
  answer["bars"] = BarsOf(shown->Bars());
  return answer;
}

Json StandIn::Send(const Json& command) {
  const auto item = ItemOf(command);
  const auto sent = Running().model.Send(item);
  if (!sent) return {{"cancelled", true}, {"mail", MailOf(item->Data())}};
  Running().windows.erase(command.value("window", 0));
  return {{"cancelled", false}, {"mail", MailOf(*sent, String(command, "folder"))}};
}

Json StandIn::Close(const Json& command) {
  const auto item = ItemOf(command);
  const auto window = item->Window();
  const bool closed = window && Running().model.Close(window);
  if (closed) Running().windows.erase(command.value("window", 0));
  return {{"closed", closed}, {"body", *item->Data().body}};
}

Json StandIn::Respond(const Json& command) {
  auto& model = Running().model;
  const auto original = ItemOf(command);
  const std::string kind = String(command, "do");
  const auto response = kind == "reply"       ? model.Reply(original)
                        : kind == "reply-all" ? model.ReplyAll(original)
                                              : model.Forward(original);
  if (!response) return {{"cancelled", true}};
  // The user adds them to those that a reply has.
  auto recipients = response->Data().recipients;
  const auto added = RecipientsOf(command.value("mail", Json::object()));
  recipients.insert(recipients.end(), added.begin(), added.end());
  response->EditRecipients(std::move(recipients));
  return Open(response);
}

Json StandIn::SaveAttachment(const Json& command) {
  const auto item = ItemOf(command);
  const int index = command.value("index", 0);
  Running().model.ReadAttachment(item, index);
  desk::MakeAttachment(item, index)->SaveAsFile(String(command, "path"));
  return Json::object();
}

Json StandIn::Queue(const Json& command) {
  user_.Queue({String(command, "form"), command.value("set", std::map<std::string, std::string>()),
               String(command, "press")});
  return Json::object();
}

Json StandIn::CallCrypto(const Json& command) {
  return testing::CallCrypto(command, command.contains("window") ? ItemOf(command) : nullptr);
}

Json StandIn::ChangeSetting(const Json& command) {
  if (session_) Raise(kInvalidArgument, "settings are changed while the add-in is not connected");
  return Set(command);
}

Json StandIn::Run(const Json& command) {
  using Own = Json (StandIn::*)(const Json&);
  static const std::map<std::string, Own> kOwn = {{"answer", &StandIn::Queue},
                                                  {"boxes", &StandIn::Nothing},
                                                  {"click", &StandIn::Click},
                                                  {"close", &StandIn::Close},
                                                  {"compose", &StandIn::Compose},
                                                  {"connect", &StandIn::Connect},
                                                  {"crypto", &StandIn::CallCrypto},
                                                  {"disconnect", &StandIn::Disconnect},
                                                  {"forward", &StandIn::Respond},
                                                  {"open", &StandIn::OpenMail},
                                                  {"reply", &StandIn::Respond},
                                                  {"reply-all", &StandIn::Respond},
                                                  {"save-attachment", &StandIn::SaveAttachment},
                                                  {"send", &StandIn::Send},
                                                  {"set", &StandIn::ChangeSetting}};
  static const std::map<std::string, Json (*)(const Json&)> kOthers = {
      {"account", Account}, {"fail", Fail}, {"key", Key}, {"stats", Stats}};
  const std::string what = String(command, "do");
  if (const auto own = kOwn.find(what); own != kOwn.end()) return (this->*own->second)(command);
  if (const auto other = kOthers.find(what); other != kOthers.end()) return other->second(command);
  Raise(kInvalidArgument, "unknown command");
}

Json StandIn::Do(const Json& command) {
  ++depth_;
  Json answer;
  try {
    answer = Run(command);
  } catch (const Error& error) {
    answer = {{"error", error.description}, {"number", error.number}};
  } catch (const std::exception& failure) {
    answer = {{"error", failure.what()}};
  }
  --depth_;
  answer["boxes"] = Json::array();
  for (const auto& box : user_.TakeBoxes()) {
    answer["boxes"].push_back({{"form", box.form}, {"text", box.text}, {"answer", box.answer}});
  }
  return answer;
}

}  // namespace corvessa::testing
