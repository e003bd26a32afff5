#include "desk/commands/shell_session.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <iomanip>
#include <optional>
#include <ostream>
#include <sstream>

#include "base/text.h"
#include "commands/columns.h"
#include "desk/attachment_saving.h"
#include "desk/commands/command.h"
#include "desk/commands/received_message.h"
#include "desk/commands/shell_completion.h"
#include "desk/mail/mail_io.h"
#include "desk/mail_bridge.h"
#include "desk/message_report.h"
#include "desk/printing.h"
#include "desk/sending.h"
#include "desk/terminal/choices.h"
#include "system/errors.h"
#include "system/files.h"

namespace corvessa::desk {
namespace {

/// The exact caption of the visible button that has this caption in any case.
std::optional<std::string> FindButtonByCaption(const Bars& bars, const std::string& caption) {
  if (bars.FindButton(caption)) return caption;
  for (const BarPtr& bar : bars.All()) {
    if (!bar->IsVisible()) continue;
    for (const ButtonPtr& button : bar->Buttons()) {
      const std::string& shown = button->Properties().caption;
      if (button->Properties().visible && LCase(DrawnCaption(shown)) == LCase(caption)) {
        return shown;
      }
    }
  }
  return std::nullopt;
}

/// Splits at blanks outside quotation marks.
std::vector<std::string> SplitWords(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  for (std::string word; stream >> std::quoted(word);) words.push_back(word);
  return words;
}

std::size_t ParseNumber(const std::string& text, std::size_t most) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < 1 || number > most) {
    throw CommandError{Outcome::kWrongUse, "expected a number from 1 to " + std::to_string(most) +
                                               ", got \"" + text + "\""};
  }
  return number;
}

bool IsDraft(const Item& item) {
  return item.Data().folder == kDrafts;
}

}  // namespace

ShellSession::ShellSession(DeskContext& context, DeskHost& host) : context_(context), host_(host) {}

const std::vector<ShellSession::Command>& ShellSession::Commands() {
  static const std::vector<Command> commands = {
      {"open", "open FILE", "open a received message", 1, 1, &ShellSession::Open, Offer::kFiles},
      {"compose", "compose FILE", "open a draft in a window", 1, 1, &ShellSession::Compose,
       Offer::kFiles},
      {"show", "show", "show the front message again", 0, 0, &ShellSession::Show},
      {"save", "save DIR", "save its attachments", 1, 1, &ShellSession::Save, Offer::kFiles},
      {"close", "close", "close the front window", 0, 0, &ShellSession::Close},
      {"windows", "windows", "list the open windows", 0, 0, &ShellSession::Windows},
      {"window", "window N", "bring a window to the front", 1, 1, &ShellSession::Bring},
      {"bars", "bars", "show the bars of the front window", 0, 0, &ShellSession::Bars},
      {"click", "click CAPTION", "click a button on a bar", 1, 9, &ShellSession::Click,
       Offer::kButtons},
      {"reply", "reply [TEXTFILE]", "reply to the front message", 0, 1, &ShellSession::Reply,
       Offer::kFiles},
      {"replyall", "replyall [TEXTFILE]", "reply to all", 0, 1, &ShellSession::ReplyAll,
       Offer::kFiles},
      {"forward", "forward [TEXTFILE]", "forward the front message", 0, 1, &ShellSession::Forward,
       Offer::kFiles},
      {"send", "send FILE", "send the front draft and write it to FILE", 1, 1, &ShellSession::Send,
       Offer::kFiles},
      {"settings", "settings", "open the settings dialog", 0, 0, &ShellSession::Settings},
      {"forget", "forget", "forget all passphrases now", 0, 0, &ShellSession::Forget},
      {"wait", "wait SECONDS", "let time pass", 1, 1, &ShellSession::Wait},
      {"help", "help [COMMAND]", "show this list, or what a command does", 0, 1,
       &ShellSession::Help, Offer::kCommands},
      {"quit", "quit", "leave the session", 0, 0, &ShellSession::Quit},
  };
  return commands;
}

Outcome ShellSession::Execute(const std::string& line) {
  Arguments words = SplitWords(line);
  if (words.empty()) return Outcome::kDone;
  const Command& command = RequireCommand(words.front());
  words.erase(words.begin());
  if (words.size() < command.least || words.size() > command.most) {
    throw CommandError{Outcome::kWrongUse, std::string("usage: ") + command.usage};
  }
  outcome_ = Outcome::kDone;
  (this->*command.run)(words);
  return outcome_;
}

const ShellSession::Command* ShellSession::FindCommand(std::string_view typed) {
  const std::string name = typed == "?" ? "help" : LCase(typed);
  const auto& commands = Commands();
  const auto found =
      std::ranges::find_if(commands, [&](const Command& command) { return command.name == name; });
  return found == commands.end() ? nullptr : &*found;
}

const ShellSession::Command& ShellSession::RequireCommand(std::string_view typed) {
  if (const Command* const command = FindCommand(typed)) return *command;
  throw CommandError{Outcome::kWrongUse, "unknown command \"" + LCase(typed) + R"("; see "help")"};
}

std::vector<std::string> ShellSession::CommandNames() {
  std::vector<std::string> names;
  for (const Command& command : Commands()) names.emplace_back(command.name);
  std::ranges::sort(names);
  return names;
}

Completion ShellSession::Complete(const std::string& typed) const {
  const std::string_view line = typed;
  const std::size_t start = StartOfLastWord(line);
  const std::size_t first = line.find_first_not_of(' ');
  if (start <= first || first == std::string_view::npos) {
    Completion names = CompleteName(line.substr(start), CommandNames());
    for (auto& name : names.candidates) name.text += ' ';
    return names;
  }
  const std::size_t first_end = line.find(' ', first);
  const Command* const command = FindCommand(line.substr(first, first_end - first));
  if (!command) return {};
  switch (command->offer) {
    case Offer::kFiles:
      return CompleteFile(line.substr(start));
    case Offer::kCommands:
      return CompleteName(line.substr(start), CommandNames());
    case Offer::kButtons:
      // A caption is typed without quotation marks.
      return CompleteName(line.substr(line.find_first_not_of(' ', first_end)), ButtonCaptions());
    default:
      return {};
  }
}

std::vector<std::string> ShellSession::ButtonCaptions() const {
  std::vector<std::string> captions;
  if (host_.Outlook().Inspectors().empty()) return captions;
  for (const BarPtr& bar : Front()->Bars().All()) {
    if (!bar->IsVisible()) continue;
    for (const ButtonPtr& button : bar->Buttons()) {
      const ButtonProperties& look = button->Properties();
      const std::string caption = DrawnCaption(look.caption);
      const bool is_line = caption.find('\n') == std::string::npos;
      if (look.visible && look.enabled && is_line) captions.push_back(caption);
    }
  }
  return captions;
}

InspectorWindowPtr ShellSession::Front() const {
  const auto& windows = host_.Outlook().Inspectors();
  if (windows.empty()) throw CommandError{Outcome::kWrongUse, "no window is open"};
  return windows.back();
}

void ShellSession::PrintOpen(const InspectorWindowPtr& window) {
  const MessageReport report = ReadMessage(host_, window->ShownItem());
  PrintMessage(context_, window->ShownItem()->Data(), report);
  TellOfHiddenText(context_, report);
  if (report.Failed()) outcome_ = Outcome::kRefused;
}

void ShellSession::Open(const Arguments& arguments) {
  read_files_.push_back(arguments[0]);
  const mail::Mail mail = LoadReceived(context_, {system::PathOf(arguments[0])});
  const auto window = OpenReceived(host_, mail);
  PrintOpen(window);
  if (mail.incomplete) outcome_ = Outcome::kRefused;
}

void ShellSession::Compose(const Arguments& arguments) {
  read_files_.push_back(arguments[0]);
  const mail::Mail draft = mail::LoadMail(arguments[0]);
  if (draft.incomplete) {
    throw CommandError{Outcome::kEnvironment, arguments[0] + " is truncated or damaged"};
  }
  const ItemPtr item = host_.Outlook().AddItem(DraftItem(draft));
  const auto window = host_.Outlook().Open(item);
  composed_[item] = draft;
  if (window) PrintBars(context_, window->Bars());
}

void ShellSession::Show(const Arguments& /*arguments*/) {
  PrintOpen(Front());
}

void ShellSession::Save(const Arguments& arguments) {
  host_.BeginOperation();
  const auto window = Front();
  MessageReport report = ReadMessage(host_, window->ShownItem());
  if (report.attachments.empty()) {
    context_.out << "No attachments.\n";
    return;
  }
  const SavingResult saving = SaveAttachments(host_, window, arguments[0], report);
  for (const std::string& complaint : saving.complaints) context_.Tell(complaint);
  outcome_ = saving.outcome;
  for (const AttachmentReport& attachment : report.attachments) {
    if (attachment.saved_as.empty()) continue;
    context_.out << "saved " << ForDisplay(attachment.saved_as) << "\n";
  }
}

void ShellSession::Close(const Arguments& /*arguments*/) {
  if (!host_.Outlook().Close(Front())) {
    throw CommandError{Outcome::kRefused, "the window cannot be closed now"};
  }
}

void ShellSession::Windows(const Arguments& /*arguments*/) {
  int number = 0;
  for (const InspectorWindowPtr& window : host_.Outlook().Inspectors()) {
    const ItemData& item = window->ShownItem()->Data();
    const bool in_front = window == host_.Outlook().Inspectors().back();
    const std::string mark = std::to_string(++number) + (in_front ? " * " : "   ");
    const std::string whose =
        item.sender.name.empty() ? "draft: " : "from " + FieldText(item.sender.name) + ": ";
    PrintField(context_.out, mark, whose + FieldText(item.subject), Terminal::OutputColumns(),
               mark.size());
  }
}

void ShellSession::Bring(const Arguments& arguments) {
  const auto windows = host_.Outlook().Inspectors();
  if (windows.empty()) throw CommandError{Outcome::kWrongUse, "no window is open"};
  host_.Outlook().Open(windows[ParseNumber(arguments[0], windows.size()) - 1]->ShownItem());
  Windows({});
}

void ShellSession::Bars(const Arguments& /*arguments*/) {
  PrintBars(context_, Front()->Bars());
}

void ShellSession::Click(const Arguments& arguments) {
  std::string caption;
  for (const std::string& word : arguments) caption += (caption.empty() ? "" : " ") + word;
  host_.BeginOperation();
  const auto window = Front();
  const auto button = FindButtonByCaption(window->Bars(), caption);
  if (!button || !OutlookModel::Click(window->Bars(), *button)) {
    throw CommandError{Outcome::kWrongUse, "no button \"" + caption + R"(" to click; see "bars")"};
  }
  host_.RunOpenForms();
  if (window->CurrentState() == InspectorWindow::State::kShown) {
    PrintBars(context_, window->Bars());
  }
}

void ShellSession::Answer(Response response, const Arguments& arguments) {
  read_files_.insert(read_files_.end(), arguments.begin(), arguments.end());
  const std::string text = arguments.empty() ? std::string() : ReadWholeFile(arguments[0]);
  const auto original = Front();
  if (IsDraft(*original->ShownItem())) {
    throw CommandError{
        Outcome::kWrongUse,
        "the front message is a draft; only a received one can be replied to or forwarded"};
  }
  RefuseToQuote(ReadMessage(host_, original->ShownItem()));
  const ItemPtr item = Respond(host_, original->ShownItem(), response, text);
  const auto window = host_.Outlook().Open(item);
  if (window) PrintBars(context_, window->Bars());
}

void ShellSession::Reply(const Arguments& arguments) {
  Answer(Response::kReply, arguments);
}

void ShellSession::ReplyAll(const Arguments& arguments) {
  Answer(Response::kReplyToAll, arguments);
}

void ShellSession::Forward(const Arguments& arguments) {
  Answer(Response::kForward, arguments);
}

void ShellSession::Send(const Arguments& arguments) {
  const ItemPtr item = Front()->ShownItem();
  if (!IsDraft(*item)) {
    throw CommandError{Outcome::kWrongUse,
                       "the front message was received; only a draft can be sent"};
  }
  RefuseToReplace(arguments[0], read_files_);
  // Sending closes the window, so a file that cannot be written would lose the draft. Check first.
  system::WriteFile(arguments[0], [](system::AtomicFile&) {});
  const auto composed = composed_.find(item);
  const mail::Mail base =
      composed == composed_.end() ? ToDraftMail(host_, item->Data()) : composed->second;
  const SentMail sent = SendItem(host_, item, base, [&](const mail::Mail& mail) {
    mail::WriteMail(mail, arguments[0], mail::MailPurpose::kTravel);
  });
  context_.out << context_.style.Marked(ProtectionMark(sent), "Sent " + ProtectionText(sent))
               << ": " << ForDisplay(arguments[0]) << "\n";
  if (const std::string text = BlindCopyText(sent); !text.empty()) context_.Tell(text);
}

void ShellSession::Settings(const Arguments& /*arguments*/) {
  host_.RunSettings();
}

void ShellSession::Wait(const Arguments& arguments) {
  constexpr std::size_t kLongest = std::size_t{24} * 60 * 60;
  host_.Ui().Wait(std::chrono::seconds(ParseNumber(arguments[0], kLongest)));
}

void ShellSession::Forget(const Arguments& /*arguments*/) {
  host_.ForgetPassphrases();
  context_.out << "All passphrases are forgotten.\n";
}

void ShellSession::Help(const Arguments& arguments) {
  if (!arguments.empty()) {
    const Command& command = RequireCommand(arguments[0]);
    context_.out << "usage: " << command.usage << "\n  " << command.help << "\n";
    return;
  }
  for (const Command& command : Commands()) {
    context_.out << "  " << std::left << std::setw(22) << command.usage << command.help << "\n";
  }
}

void ShellSession::Quit(const Arguments& /*arguments*/) {
  has_ended_ = true;
}

}  // namespace corvessa::desk
