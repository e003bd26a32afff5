#include "message/remarks.h"

#include "base/text.h"

namespace corvessa {
namespace {

std::string Quoted(const std::string& name) {
  return "\"" + Replace(name, "\"", "'") + "\"";
}

void AddFailure(const platform::Protection& protection, std::vector<std::string>& remarks) {
  if (!protection.reason.empty()) remarks.push_back(protection.reason);
  for (const std::string& key : protection.unknown_signers) {
    remarks.push_back("The signature was made with the key " + key +
                      ", which you do not have. Ask the signer for it, or look it up on a key "
                      "server.");
  }
}

}  // namespace

std::vector<std::string> RemarksOn(const platform::MessageFacts& facts) {
  std::vector<std::string> remarks;
  AddFailure(facts.protection, remarks);
  if (!facts.unsigned_sender.empty()) {
    remarks.push_back("The message was sent from " + facts.unsigned_sender +
                      ", but signed by somebody else.");
  }
  if (facts.marks_unprotected) {
    remarks.push_back("Lines that begin with \"| \" were not protected.");
  }
  if (!facts.part_signers.empty()) {
    remarks.push_back("Only the rest of the text is signed, by " + Join(facts.part_signers, ", ") +
                      ".");
  }
  if (facts.subject_protected) {
    remarks.push_back("The subject is the protected one.");
  }
  for (const platform::UnreadPart& part : facts.not_read) {
    remarks.push_back(part.name.empty() ? part.reason
                                        : Quoted(part.name) + " was not read: " + part.reason);
  }
  return remarks;
}

}  // namespace corvessa
