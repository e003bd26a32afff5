#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <poll.h>

#include "engine/armour.h"
#include "engine/http_requests.h"
#include "engine/key_facts.h"
#include "engine/key_generation.h"
#include "engine/profile.h"
#include "engine/servers.h"

namespace corvessa::engine {
namespace {

class KeyServerTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    setenv("no_proxy", "127.0.0.1", 1);
    alice = new Profile;
    alice->Generate("alice@example.org");
    alice->engine->AuthenticateAccount("alice@example.org", "secret");
  }
  static void TearDownTestSuite() { delete alice; }

  /// What asking the servers for Alice's key comes to: QueryKeyPair, EncryptText, VerifyText.
  static std::vector<platform::EngineStatus> Outcome(const std::string& servers) {
    Profile stranger;
    stranger.engine->SetOption("lookupKeyservers", servers);
    std::string text;
    std::string signed_text;
    alice->engine->SignText("x", nullptr, signed_text);
    std::vector<platform::EngineStatus> statuses = {
        stranger.engine->QueryKeyPair("alice@example.org", text),
        stranger.engine->EncryptText(To({"alice@example.org"}), "x", text)};
    Profile verifier;
    verifier.engine->SetOption("lookupKeyservers", servers);
    statuses.push_back(VerifyText(*verifier.engine, signed_text).status);
    EXPECT_FALSE(std::filesystem::exists(stranger.folder / "keys/public.ring"))
        << "a looked-up key got into the rings";
    return statuses;
  }
  using Statuses = std::vector<platform::EngineStatus>;
  static inline const Statuses kFound = {0, 0, 1};
  static inline const Statuses kNone = {-13, -13, -13};
  static inline const Statuses kUnreachable = {-16, -8, -13};

  static inline Profile* alice = nullptr;
};

TEST_F(KeyServerTest, FindsAndPublishesOnARealServer) {
  const SksServer sks;
  EXPECT_EQ(Outcome(sks.Address()), kNone);
  Profile other;
  other.Generate("xalice@example.org");
  other.Generate("alice@example.org.evil.net");
  for (auto* const profile : {alice, &other}) {
    profile->engine->SetOption("updateKeyservers", sks.Address() + "/");
  }
  EXPECT_EQ(alice->engine->PublishKeys("bob@example.org"), -13);
  EXPECT_EQ(other.engine->PublishKeys("xalice@example.org"), 0);
  EXPECT_EQ(other.engine->PublishKeys("alice@example.org.evil.net"), 0);
  EXPECT_EQ(Outcome(sks.Address()), kNone) << "a word in common is not the address";
  EXPECT_EQ(alice->engine->PublishKeys("alice@example.org"), 0)
      << alice->engine->GetEngineLastError();
  EXPECT_EQ(Outcome(sks.Address()), kFound);
  EXPECT_EQ(Outcome(DeadAddress() + ", " + sks.Address()), kFound);

  Profile stranger;
  stranger.engine->SetOption("lookupKeyservers", sks.Address());
  std::string armoured;
  EXPECT_EQ(stranger.engine->EncryptText(To({"alice@example.org"}), "x", armoured), 0);
  std::string plain;
  EXPECT_EQ(alice->engine->DecryptTextEx(armoured, nullptr, plain), 0);
  EXPECT_EQ(plain, "x");
  EXPECT_EQ(stranger.engine->EncryptText(To({"alice@example.org", "bob@example.org"}), "x", plain),
            -13);
}

TEST_F(KeyServerTest, AServerThatCannotBeReachedIsTold) {
  EXPECT_EQ(Outcome(""), kNone) << "without servers the rings know everything";
  EXPECT_EQ(Outcome(DeadAddress()), kUnreachable);
  alice->engine->SetOption("updateKeyservers", "");
  EXPECT_EQ(alice->engine->PublishKeys("alice@example.org"), -8);
  const std::string dead = DeadAddress();
  alice->engine->SetOption("updateKeyservers", dead);
  EXPECT_EQ(alice->engine->PublishKeys("alice@example.org"), -8);
  EXPECT_EQ(alice->engine->GetEngineLastError(), "The key server " + dead +
                                                     " did not take the key: Couldn't connect to "
                                                     "server.");
}

TEST_F(KeyServerTest, RogueServersGiveNoKey) {
  const std::string keys = alice->PublicKeys("alice@example.org");
  std::string forged = Dearmour(keys);
  forged[forged.find("alice@")] = 'm';  // an address that its owner never signed
  Profile mallory;
  mallory.Generate("mallory@example.org");
  const auto flood = [](int socket) {
    const std::string block(1 << 20, 'A');
    if (!Send(socket, "HTTP/1.0 200 OK\r\n\r\n-----BEGIN PGP PUBLIC KEY BLOCK-----\r\n\r\n"))
      return;
    for (int i = 0; i < 1024 && Send(socket, block); ++i) {
    }
  };
  const auto hang = [](int socket) {
    pollfd closed{socket, POLLIN, 0};
    poll(&closed, 1, 5000);
  };
  const auto redirect = [](int socket) {
    Send(socket, "HTTP/1.0 302 Found\r\nLocation: file:///etc/passwd\r\n\r\n");
  };
  const auto broken = [](int socket) { Send(socket, "HTTP/1.0 500 No\r\n\r\n"); };
  struct Case {
    const char* what;
    RogueServer::Answer answer;
    Statuses outcome;
  };
  for (const auto& [what, answer, outcome] :
       {Case{"the key itself", Says(keys), kFound},
        Case{"text round it", Says("<html><pre>\r\n" + keys + "\r\n</pre>"), kFound},
        Case{"garbage", Says("Hello"), kUnreachable}, Case{"nothing", Says(""), kUnreachable},
        Case{"cut off", Says(keys.substr(0, 200)), kUnreachable},
        Case{"another key", Says(mallory.PublicKeys("mallory@example.org")), kNone},
        Case{"forged", Says(Armour(forged, "public key", {})), {-13, -13, -6}},
        Case{"500", broken, kUnreachable}, Case{"redirect", redirect, kUnreachable},
        Case{"flood", flood, kUnreachable}, Case{"hang", hang, kUnreachable}}) {
    const RogueServer server(answer);
    EXPECT_EQ(Outcome(server.Address()), outcome) << what;
  }
}

TEST_F(KeyServerTest, AsksWithTheCustomersLineAndNotForWhatTheRingsHold) {
  const RogueServer server(Says(alice->PublicKeys("alice@example.org")));
  Profile stranger;
  stranger.Generate("bob@example.org");
  stranger.engine->SetOption("lookupKeyservers", server.Address());
  stranger.engine->SetOption("customerID", "4711");
  std::string text;
  EXPECT_EQ(stranger.engine->QueryKeyPair("bob@example.org", text), 0);
  EXPECT_EQ(stranger.engine->QueryKeyPair("a&b=c@example.org", text), -13);
  EXPECT_EQ(stranger.engine->EncryptText(To({"bob@example.org", "alice@example.org"}), "x", text),
            0);
  EXPECT_EQ(stranger.engine->EncryptText(To({"alice@example.org"}), "x", text), 0);
  const auto requests = server.Requests();
  ASSERT_EQ(requests.size(), 2U);
  const std::string host = server.Address().substr(7);
  EXPECT_EQ(requests[0],
            "GET /pks/lookup?op=get&options=mr&exact=on&search=a%26b%3Dc%40example.org "
            "HTTP/1.1\r\nHost: " +
                host + "\r\nAccept: */*\r\nX-Nimbra-CustomerID: 4711\r\n\r\n");
}

TEST_F(KeyServerTest, AServerCannotSpeakForAnAddressOfTheRings) {
  Profile impostor;
  impostor.Generate("alice@example.org");
  impostor.engine->AuthenticateAccount("alice@example.org", "secret");
  std::string signed_text;
  ASSERT_EQ(impostor.engine->SignText("Pay", nullptr, signed_text), 0);
  const RogueServer server(Says(impostor.PublicKeys("alice@example.org")));
  Profile bob;
  bob.Import(alice->PublicKeys("alice@example.org"));
  bob.engine->SetOption("lookupKeyservers", server.Address());
  EXPECT_EQ(VerifyText(*bob.engine, signed_text), (Verified{-6, {}, {}, ""}));
  EXPECT_EQ(bob.engine->GetEngineLastError(),
            "The key that signed is not the key in your rings for alice@example.org.");
}

TEST_F(KeyServerTest, AUserIdThatOnlyLooksLikeAnAddressNamesNobody) {
  const Verified mallory{1, {"mallory@evil.net"}, {}, "Pay"};
  struct Case {
    const char* first;
    const char* second;
    Verified verified;
  };
  for (const auto& [first, second, verified] :
       {Case{"Boss <alice@example.org\u200B>", "mallory@evil.net", mallory},
        Case{"alice@example.org, mallory", "mallory@evil.net", mallory},
        Case{"mallory@evil.net", "Alice <alice@example.org>", {-6, {}, {}, ""}}}) {
    const Ffi ffi = MakeFfi();
    const auto key = GenerateKeyPair(ffi.get(), first, SecretString("pw"));
    rnp_key_unlock(key.get(), "pw");
    ASSERT_EQ(rnp_key_add_uid(key.get(), second, "SHA512", 0, 0, false), RNP_SUCCESS);
    Profile sender;
    sender.Import(ExportSecret(key.get()));
    ASSERT_EQ(sender.engine->AuthenticateAccount("mallory@evil.net", "pw"), 0);
    std::string signed_text;
    ASSERT_EQ(sender.engine->SignText("Pay", nullptr, signed_text), 0);
    const RogueServer server(Says(sender.PublicKeys("mallory@evil.net")));
    Profile bob;
    bob.Import(alice->PublicKeys("alice@example.org"));
    bob.engine->SetOption("lookupKeyservers", server.Address());
    EXPECT_EQ(VerifyText(*bob.engine, signed_text), verified) << first;
  }
}

TEST_F(KeyServerTest, AKeyThatAMailAskedForIsNotEncryptedTo) {
  std::string text;
  alice->engine->SignText("x", nullptr, text);
  const RogueServer server(Says(alice->PublicKeys("alice@example.org")));
  Profile bob;
  bob.engine->SetOption("lookupKeyservers", server.Address());
  EXPECT_EQ(VerifyText(*bob.engine, text).status, 1);
  bob.engine->SetOption("lookupKeyservers", "");
  EXPECT_EQ(bob.engine->EncryptText(To({"alice@example.org"}), "x", text), -13);
  EXPECT_EQ(bob.engine->QueryKeyPair("alice@example.org", text), -13);
}

TEST_F(KeyServerTest, ATextWithManySignersAsksForEightAndForNoneTwice) {
  std::string text;
  ASSERT_EQ(alice->engine->SignText("x", nullptr, text), 0);
  const auto block = text.find("-----BEGIN PGP SIGNATURE");
  const std::string signature = Dearmour(text.substr(block));
  const auto subpacket = signature.find("\x09\x10") + 2;  // of nine bytes, kind 16: the key ID
  const std::string key_id = signature.substr(subpacket, 8);
  const auto asked = [&](const std::string& signatures) {
    const RogueServer server(Says("Hello"));
    Profile bob;
    bob.engine->SetOption("lookupKeyservers", server.Address());
    EXPECT_EQ(
        VerifyText(*bob.engine, text.substr(0, block) + Armour(signatures, "signature", {})).status,
        -13);
    return server.Requests().size();
  };
  std::string many;
  std::string same;
  for (char i = 0; i < 20; ++i) {
    std::string other = signature;
    for (auto at = other.find(key_id); at != std::string::npos; at = other.find(key_id, at + 8)) {
      other[at] = static_cast<char>(other[at] ^ (i + 1));
    }
    many += other;
    same += signature;
  }
  EXPECT_EQ(asked(many), 8U);
  EXPECT_EQ(asked(same), 1U);
}

TEST_F(KeyServerTest, ARedirectionIsNotFollowed) {
  const RogueServer elsewhere(Says(alice->PublicKeys("alice@example.org")));
  const RogueServer server([&](int socket) {
    Send(socket, "HTTP/1.0 302 Found\r\nLocation: " + elsewhere.Address() + "/\r\n\r\n");
  });
  Profile bob;
  bob.engine->SetOption("lookupKeyservers", server.Address());
  bob.engine->SetOption("customerID", "4711");
  std::string text;
  EXPECT_EQ(bob.engine->QueryKeyPair("alice@example.org", text), -16);
  EXPECT_EQ(elsewhere.Requests(), std::vector<std::string>());
}

TEST_F(KeyServerTest, AllAnswersOfAnOperationShareTheirLimit) {
  const RogueServer server(Says(std::string(600, 'x')));
  Allowance allowance{std::chrono::steady_clock::now() + std::chrono::seconds(5), 1300};
  const std::vector<HttpRequest> requests(3, {server.Address(), {}, {}});
  const auto whole = [&] {
    const auto answers = Perform(requests, 1000, allowance);
    return std::ranges::count(answers, 200, &HttpAnswer::status);
  };
  EXPECT_EQ(whole(), 2);
  EXPECT_EQ(whole(), 0);
}

}  // namespace
}  // namespace corvessa::engine
