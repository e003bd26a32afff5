#include "mail_text.h"

#include <fstream>
#include <glib.h>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <stdio.h>

namespace corvessa::desk::mail {

namespace {

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\\')
      escaped += "\\\\";
    else if (c == '\r' || c == '\n')
      escaped += c == '\r' ? "\\r" : "\\n";
    else
      escaped += c;
  }
  return escaped;
}

std::string Digest(const std::string& bytes) {
  const std::unique_ptr<char, decltype(&g_free)> digest(
      g_compute_checksum_for_data(G_CHECKSUM_SHA256, reinterpret_cast<const guchar*>(bytes.data()),
                                  bytes.size()),
      g_free);
  return digest.get();
}

}  // namespace

std::string Described(const Mail& mail) {
  std::ostringstream out;
  const auto list = [&](const char* field, const std::vector<Mailbox>& mailboxes) {
    for (const auto& box : mailboxes)
      out << field << ": " << box.name << "|" << box.address << "\n";
  };
  if (mail.from != Mailbox{}) list("from", {mail.from});
  list("to", mail.to);
  list("cc", mail.cc);
  list("bcc", mail.bcc);
  list("reply-to", mail.reply_to);
  out << "subject: " << mail.subject << "\ndate: ";
  if (mail.date) out << *mail.date;
  out << "\n";
  for (const auto& field : mail.fields)
    if (field.name.starts_with("X-")) out << field.name << ": " << field.value << "\n";
  out << "text: " << Escaped(mail.body_text) << "\nhtml: " << Escaped(mail.body_html) << "\n";
  for (const auto& attachment : mail.attachments) {
    const auto data = attachment.data.Bytes();
    out << "attachment: " << attachment.file_name << "|" << attachment.content_type << "|"
        << attachment.content_id << (attachment.is_inline ? " inline" : "") << "|" << data.size()
        << "|" << Digest(data) << "\n";
  }
  return out.str();
}

std::string Peer(const std::string& command, const std::filesystem::path& path) {
  FILE* const pipe =
      popen(("python3 '" MAIL_PEER "' " + command + " '" + path.string() + "'").c_str(), "r");
  std::string output;
  char piece[4096];
  while (const auto count = fread(piece, 1, sizeof piece, pipe)) output.append(piece, count);
  EXPECT_EQ(pclose(pipe), 0) << "peer.py " << command << " " << path;
  return output;
}

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace corvessa::desk::mail
