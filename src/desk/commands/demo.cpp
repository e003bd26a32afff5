#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>
#include <random>
#include <sstream>

#include "base/text.h"
#include "desk/commands/command_context.h"
#include "desk/commands/commands.h"
#include "desk/commands/demo_folder.h"
#include "desk/commands/shared_options.h"
#include "desk/commands/text_file.h"
#include "desk/desk_host.h"
#include "desk/engine_setup.h"
#include "desk/mail/mail.h"
#include "desk/mail/mail_io.h"
#include "desk/mail_bridge.h"
#include "desk/message_printing.h"
#include "desk/message_report.h"
#include "desk/responding.h"
#include "desk/sending.h"
#include "desk/settings_store.h"
#include "desk/terminal/columns.h"
#include "posix/atomic_file.h"
#include "posix/io_error.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;

/// Somebody of the demo, with a profile of their own.
struct Actor {
  std::string name;
  std::string address;
  fs::path profile;
  Answers answers;
};

/// Somebody at work. Everything is answered beforehand.
struct Desk {
  Desk(Actor& actor, std::ostream& messages)
      : profile(actor.profile),
        terminal(-1, -1, false),
        host(profile, terminal, actor.answers, messages, {.owner = {actor.name, actor.address}}) {}

  Profile profile;
  Terminal terminal;
  DeskHost host;
};

std::string RandomPassphrase() {
  std::random_device random;
  std::ostringstream text;
  for (int i = 0; i < 4; ++i) text << std::hex << random() << (i < 3 ? "-" : "");
  return text.str();
}

void WriteText(const fs::path& path, const std::string& text) {
  posix::WriteFile(path, [&](posix::AtomicFile& file) {
    file.Write(text);
    file.Commit();
  });
}

/// The demo proves what it tells.
void Expect(bool holds, const char* what) {
  if (!holds) Fail(Outcome::kRefused, std::string("the demo went wrong: ") + what);
}

/// One line a box that was answered.
void TellBoxes(std::ostream& out, DeskHost& host, std::size_t first) {
  const auto& boxes = host.Ui().Boxes();
  for (std::size_t i = first; i < boxes.size(); ++i) {
    if (boxes[i].answer.empty()) continue;
    out << "   | " << boxes[i].name << ": " << boxes[i].text.substr(0, boxes[i].text.find('\n'))
        << " -> " << boxes[i].answer << "\n";
  }
}

void Indented(std::ostream& out, const std::string& text) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) out << "   | " << line << "\n";
}

class Demo {
 public:
  Demo(CommandContext& context, const std::string& keep)
      : out_(context.out),
        messages_(context.messages),
        folder_(keep),
        alice_{"Alice", "alice@example.org", folder_ / "alice", {}},
        bob_{"Bob", "bob@example.com", folder_ / "bob", {}} {}

  void Run() {
    MakeKeys();
    ExchangeKeys();
    WriteDraft();
    Send();
    ShowTravelling();
    Open();
    Reply();
    Tamper();
    Finish();
  }

 private:
  void Step(const std::string& line) { out_ << ++step_ << ". " << line << std::endl; }

  void MakeKeys() {
    Step("Alice and Bob each make a key pair and secure their address.");
    for (Actor* actor : {&alice_, &bob_}) {
      const std::string passphrase = RandomPassphrase();
      actor->answers.SetPassphrase(actor->address, passphrase);
      if (folder_.IsKept()) WriteText(folder_ / (actor->name + ".passphrase"), passphrase + "\n");
      Profile profile(actor->profile);
      engine::KeyInfo key;
      Expect(OpenEngine(profile)->GenerateKey(actor->name, actor->address, passphrase, key) == 0,
             "no key was made");
      SettingsStore(profile.Registry()).AddAccount(actor->address, true);
      out_ << "   | " << key.user_ids.front() << "  " << key.fingerprint << "\n";
    }
  }

  void ExchangeKeys() {
    Step("They give each other their public keys, as files.");
    for (const auto& [from, to] : {std::pair(&alice_, &bob_), std::pair(&bob_, &alice_)}) {
      const fs::path file = folder_ / (from->name + ".asc");
      std::string armoured;
      {
        Profile profile(from->profile);
        Expect(OpenEngine(profile)->ExportPublicKeys(from->address, armoured) == 0,
               "no public key");
      }
      WriteText(file, armoured);
      Profile profile(to->profile);
      std::vector<engine::KeyInfo> imported;
      Expect(OpenEngine(profile)->ImportKeys(ReadWholeFile(file), {}, imported) == 0, "no import");
    }
  }

  void WriteDraft() {
    Step("Alice writes a message with two attachments.");
    draft_.from = {alice_.name, alice_.address};
    draft_.to = {{bob_.name, bob_.address}};
    draft_.subject = "Figures for the board";
    draft_.body_text =
        "Dear Bob,\r\n\r\nhere they are. Nobody else must see them yet.\r\n\r\nAlice\r\n";
    mail::Attachment figures;
    figures.file_name = figures.display_name = "figures.csv";
    figures.content_type = "text/csv";
    figures.data = mail::AttachmentBytes::FromBytes("quarter,result\r\n1,120\r\n2,-35\r\n");
    mail::Attachment logo;
    logo.file_name = logo.display_name = "logo.gif";
    logo.content_type = "image/gif";
    logo.data = mail::AttachmentBytes::FromFile(alice_.profile / "drive_c" / "Program Files" /
                                                "Corvessa" / "Customization" / "48hLogo.gif");
    draft_.attachments = {figures, logo};
    mail::WriteMail(draft_, folder_ / "1-draft.eml", mail::MailPurpose::kDraft);
    Indented(out_, *DraftItem(draft_).body);
  }

  void Send() {
    Step("She sends it. The add-in signs and encrypts the text and each attachment.");
    Desk desk(alice_, messages_);
    const std::size_t first_box = desk.host.Ui().Boxes().size();
    SendMail(desk.host, mail::LoadMail(folder_ / "1-draft.eml"), "2-sent.eml");
    TellBoxes(out_, desk.host, first_box);
  }

  void ShowTravelling() {
    Step("This is what travels:");
    const std::string text = ReadWholeFile(folder_ / "2-sent.eml");
    Expect(text.find("Nobody else") == std::string::npos, "the text travels in clear");
    std::istringstream lines(text);
    std::string line;
    for (int shown = 0; shown < 20 && std::getline(lines, line); ++shown) {
      out_ << "   | " << ForDisplay(line) << "\n";
    }
    out_ << "   | ... (" << text.size() << " bytes)\n";
  }

  void Open() {
    Step("Bob opens it. The add-in asks for his passphrase, decrypts and verifies.");
    Desk desk(bob_, messages_);
    const auto window = Opened(desk.host, "2-sent.eml");
    const MessageReport report = ReadMessage(window);
    ShowBars(window);
    ShowMessage(window, report);
    Expect(!report.Failed() && *window->ShownItem()->Data().body == draft_.body_text,
           "Bob does not read what Alice wrote");
    for (std::size_t i = 0; i < draft_.attachments.size(); ++i) {
      Expect(ReadAll(*window->ShownItem()->Data().attachments[i]->content) ==
                 draft_.attachments[i].data.Bytes(),
             "an attachment is not what Alice attached");
    }
    const ItemPtr reply =
        Respond(desk.host, window->ShownItem(), Response::kReply, "Thank you, Alice.\n");
    mail::WriteMail(DraftOf(desk.host, reply->Data()), folder_ / "3-reply-draft.eml",
                    mail::MailPurpose::kDraft);
    desk.host.Outlook().Close(window);
  }

  void Reply() {
    Step(
        "He answers. He does not encrypt by default, but \"Encrypt on send\" is pressed by "
        "itself,");
    out_ << "   because the message that he answers was encrypted.\n";
    SettingsStore(Profile(bob_.profile).Registry()).Set("DisableOutgoingEncryption", "1");
    {
      Desk desk(bob_, messages_);
      const mail::Mail draft = mail::LoadMail(folder_ / "3-reply-draft.eml");
      ShowOptions(desk.host, draft);
      SendMail(desk.host, draft, "4-reply.eml");
    }
    Step("Alice opens the reply.");
    Desk desk(alice_, messages_);
    const auto window = Opened(desk.host, "4-reply.eml");
    const MessageReport report = ReadMessage(window);
    ShowMessage(window, report);
    Expect(!report.Failed() && report.protection->decrypt_status == decrypt_status::kDone,
           "Alice does not read what Bob wrote");
    desk.host.Outlook().Close(window);
  }

  void ShowOptions(DeskHost& host, const mail::Mail& draft) {
    const auto window = host.Outlook().Open(host.Outlook().AddItem(DraftItem(draft)));
    ShowBars(window);
    host.Outlook().Close(window);
  }

  void Tamper() {
    Step("Somebody changes one letter of Alice's message on its way. Bob's add-in refuses it.");
    std::string text = ReadWholeFile(folder_ / "2-sent.eml");
    const std::size_t end = text.find("-----END PGP MESSAGE-----");
    Expect(end != std::string::npos, "there is no armour to change");
    char& letter = text[text.rfind("\r\n", end - 20) - 12];
    letter = letter == 'A' ? 'B' : 'A';
    WriteText(folder_ / "5-tampered.eml", text);

    Desk desk(bob_, quiet_);
    const auto window = Opened(desk.host, "5-tampered.eml");
    const MessageReport report = ReadMessage(window);
    for (const std::string& line : report.status_lines) out_ << "   | " << line << "\n";
    const bool is_shown = window->ShownItem()->Data().body->find("Dear Bob") != std::string::npos;
    Expect(report.Failed() && !is_shown, "the changed message was accepted");
    desk.host.Outlook().Close(window);
  }

  void Finish() {
    if (!folder_.IsKept()) {
      out_ << "Done. With --keep DIR all of this stays for you to look at.\n";
      return;
    }
    const std::string kept = ForDisplay(fs::absolute(folder_ / "").string());
    out_ << "Done. Everything is in " << kept << "; look at it again with\n"
         << "  ./desk --profile " << kept << "bob --passphrase bob@example.com=" << kept
         << "Bob.passphrase open " << kept << "2-sent.eml\n";
  }

  void SendMail(DeskHost& host, const mail::Mail& draft, const char* file) {
    const SentMail sent = SendDraft(host, draft, {}, [&](const mail::Mail& mail) {
      mail::WriteMail(mail, folder_ / file, mail::MailPurpose::kTravel);
    });
    Expect(sent.encrypted && sent.is_signed, "the message was not protected");
  }

  InspectorWindowPtr Opened(DeskHost& host, const char* file) {
    const std::size_t first_box = host.BeginOperation();
    const mail::Mail mail = mail::LoadMail(folder_ / file);
    const auto window = host.Outlook().Open(host.Outlook().AddReceived(ReceivedItem(mail)));
    Expect(window != nullptr, "the message did not stay open");
    TellBoxes(out_, host, first_box);
    return window;
  }

  void ShowBars(const InspectorWindowPtr& window) {
    std::ostringstream text;
    PrintBars(text, window->Bars());
    Indented(out_, text.str());
  }

  void ShowMessage(const InspectorWindowPtr& window, const MessageReport& report) {
    std::ostringstream text;
    PrintMessage(text, window->ShownItem()->Data(), report, kUnlimitedColumns);
    Indented(out_, text.str());
  }

  std::ostream& out_;
  std::ostream& messages_;
  /// Takes what is said of the prompts that nobody answers when the passphrase is of no use.
  std::ostringstream quiet_;
  DemoFolder folder_;
  Actor alice_;
  Actor bob_;
  mail::Mail draft_;
  int step_ = 0;
};

}  // namespace

void AddDemoCommand(CLI::App& app, CommandContext& context) {
  const auto keep = std::make_shared<std::string>();
  auto* const demo = app.add_subcommand("demo", "show a whole session of two people");
  demo->add_option("--keep", *keep, "a new folder for all that is made")->type_name("DIR");
  OnRun(*demo, context, [&context, keep] {
    Demo(context, *keep).Run();
    return Outcome::kDone;
  });
}

}  // namespace corvessa::desk
