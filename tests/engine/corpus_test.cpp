#include <gtest/gtest.h>

#include "engine/armour.h"
#include "engine/key_facts.h"
#include "engine/packets.h"
#include "engine/profile.h"

namespace corvessa::engine {
namespace {

const std::string kText = "Grüße\n-dash  \n- item\nFrom x\n";
// openpgp.js makes canonical text of it.
const std::string kTextInCrLf = "Grüße\r\n-dash  \r\n- item\r\nFrom x\r\n";

std::string Corpus(const std::string& name) {
  return ContentOf(std::filesystem::path(CORVESSA_CORPUS_FOLDER) / name);
}

/// Messages that other programs made; corpus/make.sh says how.
class CorpusTest : public ::testing::Test {
 protected:
  void SetUp() override {
    alice.Import(Corpus("alice.key"), "secret");
    alice.Import(Corpus("signers.key"));
    alice.Unlock("alice@example.org");
    alice.engine->SetMessagePassphrase("wrong");
    alice.engine->SetMessagePassphrase("open sesame");
  }
  /// What comes of a message: decrypted, and verified when it was signed.
  std::string Read(const std::string& armoured) {
    const auto [status, text] = alice.DecryptText(armoured);
    if (status != 0) return std::to_string(status) + " " + alice.engine->GetEngineLastError();
    if (!text.starts_with("-----BEGIN PGP SIGNED")) return "0 " + text;
    return "0 " + alice.VerifyText(text);
  }

  Profile alice;
};

TEST_F(CorpusTest, MessagesOfOtherProgramsAreReadAndTheirSignaturesVerified) {
  const std::string by_gina = "0 1 [gina@example.org] [] ";
  const std::string unsupported = "-5 The message is encrypted in a way that is not supported.";
  const std::pair<const char*, std::string> cases[] = {
      {"gpg-encrypted", "0 " + kText},
      {"gpg-signed-encrypted", by_gina + kText},
      {"gpg-textmode", by_gina + kTextInCrLf},
      {"gpg-two-signers", "0 1 [gina@example.org, rita@example.org] [] " + kText},
      {"gpg-passphrase", "0 " + kText},
      {"gpg-passphrase-or-key", "0 " + kText},
      {"rnp-eax", by_gina + kText},
      {"rnp-ocb", by_gina + kText},
      {"rnp-passphrase", "0 " + kText},
      {"sq-signed-encrypted", by_gina + kText},
      {"openpgpjs5", by_gina + kTextInCrLf},
      {"openpgpjs6", by_gina + kTextInCrLf},
      {"openpgpjs5-aead-passphrase", "0 " + kTextInCrLf},
      {"openpgpjs6-aead-passphrase", unsupported},
      {"gpg-signed", "-3 The OpenPGP message is damaged or not encrypted."},
      {"gpg-stored", "-3 The OpenPGP message is damaged or not encrypted."}};
  for (const auto& [name, wanted] : cases) {
    EXPECT_EQ(Read(Corpus(std::string(name) + ".asc")), wanted) << name;
    const auto path = alice.Write("file", Corpus(std::string(name) + ".asc"));
    const auto status = alice.engine->DecryptFileEx(path, nullptr);
    EXPECT_EQ(status, wanted.starts_with("-3") ? -9 : std::stoi(wanted)) << name;
    const bool is_signed = wanted.find(" 1 [") != std::string::npos;
    if (status != 0) continue;
    EXPECT_EQ(alice.VerifyFile(path, ""),
              is_signed ? wanted.substr(2, wanted.rfind(']') - 1) : "-9 [] []")
        << name;
    // What was found belongs to these very bytes in this very place.
    EXPECT_EQ(alice.VerifyFile(alice.Write("copy", ContentOf(path)), ""), "-9 [] []") << name;
    EXPECT_EQ(alice.VerifyFile(alice.Write("file", ContentOf(path) + "\n"), ""), "-9 [] []");
  }
}

TEST_F(CorpusTest, DamagedMessagesGiveNoTextAndAreNeverCalledUnencrypted) {
  for (const auto* const name : {"rnp-ocb", "rnp-eax", "gpg-encrypted"}) {
    const std::string armoured = Corpus(std::string(name) + ".asc");
    const std::string good = Read(armoured);
    const std::string whole = Dearmour(armoured);
    const auto data = ReadEncryptedMessageStart(whole)->length;
    const auto data_body = whole.size() - FirstBody(whole.substr(data)).size();
    const auto read = [&](const std::string& bytes) {
      const auto text = Read(Armour(bytes, "message", {}));
      const auto path = alice.Write("file", bytes);
      const auto file = alice.engine->DecryptFileEx(path, nullptr);
      // Some bits of headers and session keys do not matter.
      EXPECT_TRUE(text == good || text.starts_with("-")) << text;
      EXPECT_EQ(file == 0, text == good);
      EXPECT_TRUE(ContentOf(path) == (file == 0 ? kText : bytes));
      return file;
    };
    constexpr std::size_t kTag = 16;
    for (std::size_t at = 0; at < whole.size(); ++at) {
      const bool is_content = at > data_body + kTag && at + 2 * kTag < whole.size();
      if (is_content && at % 8 != 0) continue;
      SCOPED_TRACE(name + std::string(", byte ") + std::to_string(at));
      std::string changed = whole;
      changed[at] ^= 1;
      const auto flipped = read(changed);
      const auto cut = read(whole.substr(0, at));
      // The first bytes of a header could be those of any file.
      if (at > 1) {
        EXPECT_NE(flipped, -9);
      }
      EXPECT_EQ(cut == -9, at < data);
      EXPECT_NE(cut, 0);
      if (at >= data_body) {
        EXPECT_NE(flipped, 0);
      }
    }
  }
}

TEST_F(CorpusTest, PacketsThatSayNothingArePassedOver) {
  const std::string by_gina = "0 1 [gina@example.org] [] " + kText;
  const std::string whole = Dearmour(Corpus("gpg-signed-encrypted.asc"));
  const auto data = ReadEncryptedMessageStart(whole)->length;
  const std::string signed_whole = Dearmour(Corpus("gpg-signed-uncompressed.asc"));
  const std::string keys = BinaryKeys(Corpus("signers.key"));
  const auto primary = FirstPacket(keys).size();
  for (const std::string packet :
       {"\xca\3PGP", "\xd5\4zzzz", "\xfc\2zz", "\xfd\1z", "\xfe\1z", "\xff\1z", "\xe8\1z"}) {
    SCOPED_TRACE(static_cast<int>(packet[0] & 63));
    for (const auto at : {std::size_t{0}, data}) {
      std::string message = whole;
      message.insert(at, packet);
      EXPECT_EQ(Read(Armour(message, "message", {})), by_gina) << at;
      const auto path = alice.Write("file", message);
      EXPECT_EQ(alice.engine->DecryptFileEx(path, nullptr), 0) << at;
      EXPECT_EQ(ContentOf(path), kText);
    }
    std::string text;
    EXPECT_EQ(alice.engine->OpenSignedText(Armour(packet + signed_whole, "message", {}), text), 0);
    EXPECT_EQ(alice.VerifyText(text), "1 [gina@example.org] [] " + kText);
    for (const auto at : {std::size_t{0}, primary, keys.size()}) {
      std::string changed = keys;
      changed.insert(at, packet);
      Profile other;
      other.Import(changed);
      EXPECT_EQ(other.QueryKeyPair("gina@example.org"), 0) << at;
      EXPECT_EQ(other.QueryKeyPair("rita@example.org"), -13);
      EXPECT_TRUE(other.VerifyText(text).starts_with("-10 ")) << "no memory of another engine's";
    }
  }
}

TEST_F(CorpusTest, WhatIsOnlySignedIsOpenedAndVerified) {
  const std::pair<const char*, std::string> cases[] = {{"gpg-signed", kText},
                                                       {"gpg-signed-uncompressed", kText},
                                                       {"sq-signed", kText},
                                                       {"openpgpjs5-signed", kTextInCrLf},
                                                       {"openpgpjs6-signed", kTextInCrLf}};
  std::string text;
  for (const auto& [name, wanted] : cases) {
    ASSERT_EQ(alice.engine->OpenSignedText(Corpus(std::string(name) + ".asc"), text), 0) << name;
    EXPECT_EQ(alice.VerifyText(text), "1 [gina@example.org] [] " + wanted) << name;
  }
  for (const auto* const name : {"gpg-stored.asc", "gpg-encrypted.asc", "alice.key"}) {
    EXPECT_EQ(alice.engine->OpenSignedText(Corpus(name), text), -9) << name;
  }
}

TEST_F(CorpusTest, NothingButWhatWasSignedIsShownAsSigned) {
  const std::string whole = Dearmour(Corpus("gpg-signed-uncompressed.asc"));
  const std::string start(FirstPacket(whole));
  const std::string literal(FirstPacket(whole.substr(start.size())));
  const std::string signature = whole.substr(start.size() + literal.size());
  const std::string evil(
      "\xcb\x0a"
      "b\0\0\0\0\0evil",
      12);
  std::string changed = whole;
  changed[changed.find("item")] = 'I';
  std::string other_signature = whole;
  other_signature.back() ^= 1;
  const auto outcome = [&](const std::string& packets) {
    std::string text;
    const auto status = alice.engine->OpenSignedText(Armour(packets, "message", {}), text);
    return status == 0 ? alice.VerifyText(text) : std::to_string(status);
  };
  EXPECT_EQ(outcome(whole), "1 [gina@example.org] [] " + kText);
  EXPECT_EQ(outcome(changed), "0 [gina@example.org] [] ");
  EXPECT_EQ(outcome(other_signature), "0 [gina@example.org] [] ");
  for (const auto& packets :
       {evil + whole, start + evil + literal + signature, start + literal + evil + signature,
        start + evil + signature, literal + signature, whole + evil, whole + whole}) {
    const auto read = outcome(packets);
    const bool is_what_was_signed = read == "1 [gina@example.org] [] " + kText;
    EXPECT_TRUE(is_what_was_signed || !read.starts_with("1 ")) << read;
  }
}

TEST_F(CorpusTest, AnEngineVerifiesFromMemoryOnlyWhatItReturned) {
  const auto signed_text = alice.DecryptText(Corpus("gpg-signed-encrypted.asc")).second;
  EXPECT_TRUE(signed_text.starts_with(
      "-----BEGIN PGP SIGNED MESSAGE-----\r\nHash: SHA512\r\n\r\nGrüße\n- -dash  \n- - item\n"))
      << signed_text;
  const auto is_good = [](Profile& profile, const std::string& text) {
    return profile.VerifyText(text).starts_with("1 ");
  };
  EXPECT_TRUE(is_good(alice, signed_text));
  for (const auto at :
       {std::size_t{0}, signed_text.find("Gr"), signed_text.find("item"), signed_text.size()}) {
    std::string changed = signed_text;
    changed.insert(at, "x");
    EXPECT_FALSE(is_good(alice, changed)) << changed;
  }
  Profile other;
  other.Import(Corpus("signers.key"));
  EXPECT_EQ(other.VerifyText(signed_text), "-10 [] [] ");
  // The same bytes out of a message that was not signed are what they are.
  alice.Unlock("alice@example.org");
  const auto imitation = alice.EncryptText(To({"alice@example.org"}), signed_text).second;
  ASSERT_EQ(alice.DecryptText(imitation), Outcome(0, signed_text));
  EXPECT_FALSE(is_good(alice, signed_text));
}

TEST_F(CorpusTest, AFailureSaysWhy) {
  Profile nobody;
  const auto failure = [&](Profile& profile, const std::string& name) {
    const auto status = profile.DecryptText(Corpus(name)).first;
    const auto trouble = profile.engine->GetTrouble();
    return std::to_string(status) + " " + trouble.reason + " [" + Join(trouble.key_ids, ", ") +
           "] " + trouble.address + ": " + profile.engine->GetEngineLastError();
  };
  const auto id_of = [](const std::string& text) { return text.substr(text.find('[') + 1, 16); };
  const auto other = failure(nobody, "gpg-other-key.asc");
  EXPECT_EQ(other, "-13 otherKey [" + id_of(other) +
                       "] : The message is encrypted to another key: " + id_of(other) + ".");
  EXPECT_EQ(failure(alice, "gpg-other-key.asc"),
            "-13 otherKey [" + id_of(other) +
                "] : The message is encrypted to another key: gina@example.org (" + id_of(other) +
                ").");
  EXPECT_EQ(failure(nobody, "gpg-passphrase.asc"),
            "-13 passphraseNeeded [] : The message is encrypted with a passphrase.");
  nobody.engine->SetMessagePassphrase("guess");
  EXPECT_EQ(failure(nobody, "gpg-passphrase.asc"),
            "-4 passphraseNeeded [] : The passphrase does not open the message.");
  alice.engine->InitEngine();
  const auto locked = failure(alice, "gpg-encrypted.asc");
  EXPECT_EQ(locked, "-13 keyLocked [" + id_of(locked) +
                        "] alice@example.org: The message is encrypted for alice@example.org, "
                        "whose key is locked.");
  // An unknown signer of a readable message.
  nobody.Import(Corpus("alice.key"), "secret");
  nobody.Unlock("alice@example.org");
  const auto text = nobody.DecryptText(Corpus("gpg-signed-encrypted.asc")).second;
  const auto verified = nobody.VerifyText(text);
  const auto trouble = nobody.engine->GetTrouble();
  ASSERT_EQ(trouble.key_ids.size(), 1U);
  EXPECT_EQ(verified, "-13 [] [" + trouble.key_ids[0] + "] ");
  EXPECT_EQ(trouble.reason, "unknownSigner");
}

}  // namespace
}  // namespace corvessa::engine
