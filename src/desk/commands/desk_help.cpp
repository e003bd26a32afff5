#include "desk/commands/command.h"

namespace corvessa::desk {

std::vector<CommandHelp> DeskHelp() {
  std::vector<CommandHelp> texts{
      {"",
       "Signs and encrypts mail before it is sent, and decrypts and verifies mail that was "
       "received. It writes OpenPGP, which Thunderbird, gpg and many other programs read. Mail "
       "comes and goes as files, as every mail program can save and send them.\n"
       "Prompts are shown on the terminal. Without one, a prompt is closed, which consents to "
       "nothing, unless --answer names what to press in it.",
       {{"key generate you@example.org --name \"Your Name\"", "makes your key pair"},
        {"account add you@example.org --sign", "secures your address and signs with it"},
        {"key import friend.asc", "takes a friend's public key"},
        {"send draft.eml --out sent.eml", "signs and encrypts a draft"},
        {"open received.eml", "decrypts, verifies and shows a message"}},
       {{"Exit status",
         {{"0", "done"},
          {"1",
           "refused or cancelled, decryption failed, or a signature is not good (an unsigned "
           "message "
           "is not a failure)"},
          {"2", "wrong usage"},
          {"3", "trouble with a file, the profile, the disk or the network"}}},
        {"Environment",
         {{"XDG_DATA_HOME", "the folder of the default profile, instead of ~/.local/share"},
          {"NO_COLOR", "not empty: no colours on the terminal, only signs"}}},
        {"Files",
         {{"~/.local/share/corvessa",
           "the profile: the key rings, the settings in registry.reg, and in unsent the mails "
           "whose "
           "delivery failed"}}}}},
      {"settings",
       "Opens the add-in's settings dialog, in which you add and remove secured addresses and "
       "choose "
       "the one that signs."},
      {"set",
       "Switches take 1 or 0, on or off, yes or no. \"get\" lists the names and values.",
       {{"set DisableOutgoingEncryption 1", "does not encrypt unless you ask for it"},
        {"set DeliveryCommand \"msmtp -a work\"", "delivers mail with this program"},
        {"set EngineLookupServer \"wkd https://keys.openpgp.org\"",
         "looks missing keys up at the recipient's domain and on a key server"}}},
      {"get",
       "Without a name, lists all settings.",
       {{"get PassphraseMemory", "shows for how many minutes a passphrase is remembered"}}},
      {"open",
       "Decrypts and verifies as opening the message in Outlook does, and shows status, text and "
       "attachments. The file is never changed. Lines \"Status:\" above the header are the "
       "program's; "
       "everything below the first empty line is the sender's.",
       {{"open received.eml --save-attachments folder", "saves the decrypted attachments"},
        {"open - < received.eml", "reads from a pipe"},
        {"open ~/Mail/inbox --message 3", "opens the third mail of an mbox file or folder"}}},
      {"list",
       "A line for each mail: its number, how it is protected, date, author and subject. Nothing "
       "is "
       "decrypted, and a signature may be bad.",
       {{"list ~/Maildir", "lists the mails of a Maildir"}}},
      {"send",
       "Takes a draft, which is a mail file from any mail program, and writes the message to send. "
       "What is to be encrypted and cannot be is not sent.\n"
       "The message does not name blind-copy recipients: a line of its own names them for your "
       "mail "
       "server. --deliver hands the message to all its recipients itself; if that fails, the "
       "message "
       "is kept in the profile's folder unsent.",
       {{"send draft.eml --out sent.eml", "signs and encrypts as the settings and keys say"},
        {"send draft.eml --deliver --sent ~/Maildir/.Sent",
         "delivers the mail and keeps a copy that you can read"},
        {"send draft.eml --no-encrypt --out sent.eml", "only signs"},
        {"send draft.eml --passphrase you@example.org=secret.txt --answer frmNoKeysFound=cmdNo",
         "for a script: does not send if a recipient has no key"}}},
      {"reply",
       "Quotes the message that was received. The draft of a reply is clear text until it is sent.",
       {{"reply received.eml --text answer.txt --out reply.eml", "writes a draft for \"send\""}}},
      {"forward",
       "Quotes the message that was received. The draft is clear text until it is sent, and has "
       "none "
       "of the attachments of a protected message."},
      {"shell",
       "Stays connected: several windows, buttons, and passphrases that are remembered. \"help\" "
       "lists its commands, Tab completes them, files and buttons, and \"forget\" forgets the "
       "passphrases. \"?\" at a prompt says what can be typed."},
      {"help",
       "Says the same as --help after the command.",
       {{"help key import", "explains \"key import\""}}}};
  for (CommandHelp& help : KeyAndAccountHelp()) texts.push_back(std::move(help));
  return texts;
}

}  // namespace corvessa::desk
