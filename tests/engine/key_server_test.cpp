#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

#include "base/error.h"
#include "base/text.h"
#include "engine/armour.h"
#include "engine/key_facts.h"
#include "engine/key_import.h"
#include "engine/key_servers.h"
#include "engine/packets.h"
#include "engine/profile.h"
#include "support/gpg.h"
#include "support/http_server.h"
#include "system/http.h"

namespace corvessa::engine {
namespace {

using testing::HttpServer;
using testing::Replies;
using testing::Send;

constexpr const char* kAlice = "alice@example.org";

/// An address of this machine where nobody listens.
std::string DeadAddress() {
  return HttpServer().Url();
}

HttpServer::Answer Says(const std::string& body) {
  return Replies("200 OK\r\n\r\n" + body);
}

/// The sks key server in a private folder on a loopback port; ended with this object.
class SksServer {
 public:
  SksServer() {
    const std::string port = address.substr(address.rfind(':') + 1);
    const std::string made =
        "cd " + testing::ShellPath(folder_.Path()) +
        " && mkdir -p etc/sks var/run/sks var/lib/sks var/log/sks var/spool/sks"
        " && printf 'hkp_address: 127.0.0.1\\nhkp_port: " +
        port +
        "\\ndisable_mailsync:\\n' >etc/sks/sksconf && /usr/sbin/sks build -basedir . >log 2>&1"
        " && { /usr/sbin/sks db -basedir . >log 2>&1 & echo $! >pid; }";
    EXPECT_EQ(testing::RunShell(made), 0);
    Profile waiting(address);
    for (int i = 0; i < 500 && waiting.QueryKeyPair("nobody@example.org") == -16; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
  ~SksServer() {
    const std::string process = ContentOf(folder_ / "pid");
    // Its socket is nothing that Wine could remove.
    testing::RunShell("kill " + process + "while kill -0 " + process +
                      "do sleep 0.01; done 2>&-; " + "rm -rf " +
                      testing::ShellPath(folder_ / "var"));
  }
  SksServer(const SksServer&) = delete;
  SksServer& operator=(const SksServer&) = delete;

  const std::string address = DeadAddress();

 private:
  testing::TempFolder folder_;
};

class KeyServerTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    alice = new Profile;
    alice->Generate(kAlice);
    alice->Unlock(kAlice);
  }
  static void TearDownTestSuite() { delete alice; }
  static std::string AlicesKeys() { return alice->PublicKeys(kAlice); }

  /// What asking the servers for Alice's key comes to: QueryKeyPair, EncryptText, VerifyText.
  static std::string AskingFor(const std::string& servers) {
    Profile stranger(servers);
    std::string outcome = std::to_string(stranger.QueryKeyPair(kAlice)) + ", " +
                          std::to_string(stranger.EncryptText(To({kAlice}), "x").first) + ", ";
    Profile verifier(servers);
    const std::string verified = verifier.VerifyText(alice->SignText("x").second);
    outcome += verified.substr(0, verified.find(' '));
    for (const auto* profile : {&stranger, &verifier}) {
      EXPECT_FALSE(std::filesystem::exists(profile->folder / "keys/public.ring"))
          << "a looked-up key got into the rings";
    }
    return outcome;
  }
  static inline const std::string kFound = "0, 0, 1";
  static inline const std::string kNone = "-13, -13, -13";
  static inline const std::string kUnreachable = "-16, -8, -13";

  static inline Profile* alice = nullptr;
};

TEST_F(KeyServerTest, FindsAndPublishesOnARealServer) {
  const SksServer sks;
  EXPECT_EQ(AskingFor(sks.address), kNone);
  Profile other;
  for (auto* const profile : {alice, &other}) {
    profile->engine->SetOption("updateKeyservers", sks.address + "/");
  }
  EXPECT_EQ(alice->upkeep->PublishKeys("bob@example.org"), -13);
  for (const auto* similar : {"xalice@example.org", "alice@example.org.evil.net"}) {
    other.Generate(similar);
    EXPECT_EQ(other.upkeep->PublishKeys(similar), 0);
  }
  EXPECT_EQ(AskingFor(sks.address), kNone) << "a word in common is not the address";
  EXPECT_EQ(alice->upkeep->PublishKeys(kAlice), 0) << alice->engine->GetEngineLastError();
  EXPECT_EQ(AskingFor(sks.address), kFound);
  EXPECT_EQ(AskingFor(DeadAddress() + ", " + sks.address), kFound);

  Profile stranger(sks.address);
  const auto armoured = stranger.EncryptText(To({kAlice}), "x").second;
  EXPECT_EQ(alice->DecryptText(armoured), Outcome(0, "x"));
  EXPECT_EQ(stranger.EncryptText(To({kAlice, "bob@example.org"}), "x").first, -13);
}

TEST_F(KeyServerTest, ADirectoryIsAskedFirstAndForTheAddressOnly) {
  EXPECT_EQ(DirectoryUrls("joe.doe@example.org", ""),
            (std::vector<std::string>{
                "https://openpgpkey.example.org/.well-known/openpgpkey/example.org/hu/"
                "iy9q119eutrkn8s1mk4r39qejnbu3n5q?l=joe.doe",
                "https://example.org/.well-known/openpgpkey/hu/"
                "iy9q119eutrkn8s1mk4r39qejnbu3n5q?l=joe.doe"}));
  for (const auto* no_domain : {"0x1234567812345678", "joe@example.org:8080", "joe@x/y"}) {
    EXPECT_EQ(DirectoryUrls(no_domain, ""), std::vector<std::string>()) << no_domain;
  }
  Profile mallory;
  mallory.Generate("mallory@example.org");
  const auto binary = Says(Dearmour(AlicesKeys()));
  const std::string found = "0, 0, -13";
  const std::string none = kNone;
  const HttpServer hkp(Says(mallory.PublicKeys("mallory@example.org")));
  for (const auto& [answer, outcome, asks_others] :
       {std::tuple(binary, found, false), std::tuple(Says(AlicesKeys()), found, false),
        std::tuple(Says(Dearmour(mallory.PublicKeys("mallory@example.org"))), none, false),
        std::tuple(Replies("404 No\r\n\r\n"), none, true),
        std::tuple(Says("<html>"), none, true)}) {
    const HttpServer directory(answer);
    const auto before = hkp.Requests().size();
    EXPECT_EQ(AskingFor("wkd=" + directory.Url() + ", " + hkp.Url()), outcome);
    // The signer's key ID is a question for key servers only.
    EXPECT_EQ(hkp.Requests().size() - before, asks_others ? 3U : 1U);
    EXPECT_EQ(directory.Requests().at(0).substr(0, 60),
              "GET /.well-known/openpgpkey/example.org/hu/kei1q4tipxxu1yj79");
  }
  EXPECT_EQ(AskingFor("wkd=" + DeadAddress()), kUnreachable);
  EXPECT_THROW(alice->engine->SetOption("lookupKeyservers", "wkd=ftp://keys"), Error);
}

TEST_F(KeyServerTest, AServersNewNameOnAKnownKeyIsNotBelieved) {
  // The ring's copy of mallory's key names nobody else; the server's also names bob.
  testing::Gpg gpg;
  gpg.Generate("mallory@example.org", "ed25519");
  const std::string key = gpg.Fingerprint("mallory@example.org");
  Profile reader;
  reader.Generate("bob@example.org");
  reader.Import(gpg.Make("--export " + key));
  gpg.Make("--quick-add-uid " + key + " bob@example.org");
  gpg.Make("--quick-add-uid " + key + " carol@example.org");
  gpg.Make("--quick-add-key " + key + " ed25519 sign never");
  const HttpServer server(Says(gpg.Make("--armor --export mallory@example.org")));
  reader.engine->SetOption("lookupKeyservers", server.Url());
  const std::string text = gpg.Make("--armor --clearsign", "x");
  EXPECT_EQ(reader.VerifyText(text), "1 [mallory@example.org] [] x");
  EXPECT_EQ(reader.QueryKeyPair("bob@example.org"), 0);
  EXPECT_EQ(reader.QueryKeyPair("carol@example.org"), -13);
}

TEST_F(KeyServerTest, AKeyWithoutNamesUpdatesAKnownKeyAndAddsNone) {
  const std::string gina = "gina@example.org";
  testing::Gpg gpg;
  const std::string then = "--faked-system-time 20200101T000000 ";
  gpg.Make(then + "--quick-gen-key 'Test <" + gina + ">' ed25519 cert,sign never");
  const std::string key = gpg.Fingerprint(gina);
  gpg.Make(then + "--quick-add-key " + key + " cv25519 encr 1y");
  const std::string expired = gpg.PublicKey(gina);
  gpg.Make("--quick-add-key " + key + " cv25519 encr never");
  gpg.Make("--quick-add-key " + key + " ed25519 sign never");
  std::string nameless;
  const std::string whole = gpg.PublicKey(gina);
  for (const auto& part : SplitKey(whole)) {
    if (part.kind != KeyPart::Kind::kUserId) nameless += part.bytes;
  }
  const HttpServer server([&](int socket, const std::string& path) {
    const bool is_known = path.find("search=0x") != std::string::npos;
    (is_known ? Says(Armour(nameless, "public key", {})) : Replies("404 No\r\n\r\n"))(socket, path);
  });
  const std::string text = gpg.Make("--armor --clearsign", "x");
  Profile reader(server.Url());
  reader.Import(expired);
  const std::string ring = ContentOf(reader.folder / "keys/public.ring");
  EXPECT_EQ(reader.VerifyText(text), "1 [gina@example.org] [] x");
  EXPECT_EQ(reader.QueryKeyPair(gina), 0);
  EXPECT_EQ(gpg.Make("--decrypt", reader.EncryptText(To({gina}), "y").second), "y");
  EXPECT_EQ(ContentOf(reader.folder / "keys/public.ring"), ring);
  Profile offline;
  offline.Import(expired);
  EXPECT_EQ(offline.QueryKeyPair(gina), -13);
  Profile stranger(server.Url());
  EXPECT_EQ(stranger.QueryKeyPair(gina), -13);
  EXPECT_EQ(stranger.VerifyText(text).substr(0, 3), "-13");
}

TEST_F(KeyServerTest, AServerThatCannotBeReachedIsTold) {
  EXPECT_EQ(AskingFor(""), kNone) << "without servers the rings know everything";
  EXPECT_EQ(AskingFor(HttpServer().Url()), kNone);
  const std::string dead = DeadAddress();
  EXPECT_EQ(AskingFor(dead), kUnreachable);
  for (const auto& servers : {std::string(), dead}) {
    alice->engine->SetOption("updateKeyservers", servers);
    EXPECT_EQ(alice->upkeep->PublishKeys(kAlice), -8);
  }
  // The reason is in the words of the system.
  EXPECT_TRUE(alice->engine->GetEngineLastError().starts_with("The key server " + dead +
                                                              " did not take the key: "));
}

TEST_F(KeyServerTest, RogueServersGiveNoKey) {
  const std::string keys = AlicesKeys();
  std::string forged = Dearmour(keys);
  forged[forged.find("alice@")] = 'm';  // an address that its owner never signed
  Profile mallory;
  mallory.Generate("mallory@example.org");
  const HttpServer elsewhere(Says(keys));
  const auto in_armour = [](std::string_view key) { return Armour(key, "public key", {}); };
  const auto with_names = [](const std::string& armoured, int count) {
    std::string key = Dearmour(armoured);
    for (int i = 0; i < count; ++i) key += "\xcd\x01x";
    return key;
  };
  std::string six;
  for (int i = 0; i < 5; ++i) six += with_names(mallory.PublicKeys("mallory@example.org"), 995);
  six += Dearmour(keys);
  const auto flood = [](int socket, const std::string& /*path*/) {
    const std::string block(1 << 20, 'A');
    if (!Send(socket, "HTTP/1.0 200 OK\r\n\r\n-----BEGIN PGP PUBLIC KEY BLOCK-----\r\n\r\n"))
      return;
    for (int i = 0; i < 1024 && Send(socket, block); ++i) {
    }
  };
  const auto hang = [](int socket, const std::string& /*path*/) {
    char byte;
    testing::Receive(socket, &byte, 1);
  };
  struct Case {
    const char* what;
    HttpServer::Answer answer;
    std::string outcome;
  };
  for (const auto& [what, answer, outcome] :
       {Case{"the key itself", Says(keys), kFound},
        Case{"text round it", Says("<html><pre>\r\n" + keys + "\r\n</pre>"), kFound},
        Case{"many packets", Says(in_armour(with_names(keys, 995))), kFound},
        Case{"too many packets", Says(in_armour(with_names(keys, 996))), kNone},
        Case{"many keys", Says(in_armour(six)), kUnreachable},
        Case{"garbage", Says("Hello"), kUnreachable}, Case{"nothing", Says(""), kUnreachable},
        Case{"cut off", Says(keys.substr(0, 200)), kUnreachable},
        Case{"another key", Says(mallory.PublicKeys("mallory@example.org")), kNone},
        Case{"forged", Says(Armour(forged, "public key", {})), "-13, -13, -6"},
        Case{"500", Replies("500 No\r\n\r\n"), kUnreachable},
        Case{"redirect to a key", Replies("302 -\r\nLocation: " + elsewhere.Url() + "/\r\n\r\n"),
             kUnreachable},
        Case{"flood", flood, kUnreachable}, Case{"hang", hang, kUnreachable}}) {
    const HttpServer server(answer);
    EXPECT_EQ(AskingFor(server.Url()), outcome) << what;
  }
  EXPECT_EQ(elsewhere.Requests(), std::vector<std::string>());
}

TEST_F(KeyServerTest, AsksWithTheCustomersLineAndNotForWhatTheRingsHold) {
  const HttpServer server(Says(AlicesKeys()));
  Profile stranger(server.Url());
  stranger.Generate("bob@example.org");
  stranger.engine->SetOption("customerID", "4711");
  EXPECT_EQ(stranger.QueryKeyPair("bob@example.org"), 0);
  EXPECT_EQ(stranger.EncryptText(To({"bob@example.org", kAlice}), "x").first, 0);
  EXPECT_EQ(stranger.EncryptText(To({kAlice}), "x").first, 0);
  EXPECT_EQ(server.Requests().size(), 1U);
  EXPECT_EQ(stranger.QueryKeyPair("a&b=c@example.org"), -13);
  const std::string head = server.Requests().back();
  EXPECT_TRUE(head.starts_with(
      "GET /pks/lookup?op=get&options=mr&exact=on&search=a%26b%3Dc%40example.org HTTP/1.1\r\n"));
  const std::string customer = "X-Nimbra-CustomerID: 4711\r\n";
  EXPECT_NE(head.find("\r\n" + customer), std::string::npos) << head;
  // Nothing else tells who asks.
  const std::vector<std::string> allowed = {
      "GET", "Host:", "Accept:", "Pragma:", "Connection:", "Cache-Control:", ""};
  for (const auto& line : Split(Replace(head, customer, ""), "\r\n")) {
    EXPECT_EQ(std::ranges::count(allowed, line.substr(0, line.find(' '))), 1) << line;
  }
}

TEST_F(KeyServerTest, AServersKeyForAKnownAddressIsNotBelieved) {
  const std::string mallory = "1 [mallory@evil.net] [] Pay";
  const std::string refused = "-6 [] [] ";
  const struct {
    const char* first;
    const char* second;
    std::string verified;
  } cases[] = {{"alice@example.org", "mallory@evil.net", refused},
               {"mallory@evil.net", "Alice <alice@example.org>", refused},
               // What only looks like an address is none.
               {"Boss <alice@example.org\u200B>", "mallory@evil.net", mallory},
               {"alice@example.org, mallory", "mallory@evil.net", mallory}};
  for (const auto& [first, second, verified] : cases) {
    const Ffi ffi = MakeFfi();
    const auto key = GenerateKeyPair(ffi.get(), first, SecretString("secret"), 1U << 16);
    rnp_key_unlock(key.get(), "secret");
    ASSERT_EQ(rnp_key_add_uid(key.get(), second, "SHA512", 0, 0, false), RNP_SUCCESS);
    Profile sender;
    sender.Import(ExportSecret(key.get()));
    sender.Unlock("mallory@evil.net");
    const HttpServer server(Says(sender.PublicKeys("mallory@evil.net")));
    Profile bob(server.Url());
    bob.Import(AlicesKeys());
    EXPECT_EQ(bob.VerifyText(sender.SignText("Pay").second), verified) << first;
    if (verified == refused) {
      EXPECT_EQ(bob.engine->GetEngineLastError(),
                "The key that signed is not the key in your rings for alice@example.org.");
    }
  }
}

TEST_F(KeyServerTest, AKeyServesOnlyTheAddressItWasAskedFor) {
  const std::string gina = "gina@example.org";
  const std::string carol = "carol@example.org";
  testing::Gpg gpg;
  gpg.Generate(gina, "ed25519");
  gpg.Make("--quick-add-uid " + gpg.Fingerprint(gina) + " " + carol);
  const auto key = Says(gpg.Make("--armor --export " + gina));
  const HttpServer server([&](int socket, const std::string& path) {
    (path.ends_with("gina%40example.org") ? key : Replies("404 No\r\n\r\n"))(socket, path);
  });
  Profile bob(server.Url());
  EXPECT_EQ(bob.EncryptText(To({gina}), "x").first, 0);
  EXPECT_EQ(bob.EncryptText(To({carol}), "x").first, -13);
  EXPECT_EQ(bob.QueryKeyPair(carol), -13);
}

TEST_F(KeyServerTest, AKeyThatAMailAskedForIsNotEncryptedTo) {
  const HttpServer server(Says(AlicesKeys()));
  Profile bob(server.Url());
  EXPECT_EQ(bob.VerifyText(alice->SignText("x").second), "1 [alice@example.org] [] x");
  bob.engine->SetOption("lookupKeyservers", "");
  EXPECT_EQ(bob.EncryptText(To({kAlice}), "x").first, -13);
  EXPECT_EQ(bob.QueryKeyPair(kAlice), -13);
}

TEST_F(KeyServerTest, ATextWithManySignersAsksForEightAndForNoneTwice) {
  const std::string text = alice->SignText("x").second;
  const auto block = text.find("-----BEGIN PGP SIGNATURE");
  const std::string signature = Dearmour(text.substr(block));
  const auto subpacket = signature.find("\x09\x10") + 2;  // of nine bytes, kind 16: the key ID
  const std::string key_id = signature.substr(subpacket, 8);
  const auto asked = [&](const std::string& signatures) {
    const HttpServer server(Says("Hello"));
    Profile bob(server.Url());
    EXPECT_TRUE(bob.VerifyText(text.substr(0, block) + Armour(signatures, "signature", {}))
                    .starts_with("-13 [] ["));
    return server.Requests().size();
  };
  std::string many;
  std::string same;
  for (char i = 1; i <= 20; ++i) {
    many += Replace(signature, key_id, std::string(8, i));
    same += signature;
  }
  EXPECT_EQ(asked(many), 8U);
  EXPECT_EQ(asked(same), 1U);
}

TEST_F(KeyServerTest, AllAnswersOfAnOperationShareTheirLimit) {
  const HttpServer server(Says(std::string(600, 'x')));
  system::HttpAllowance allowance{std::chrono::steady_clock::now() + std::chrono::seconds(5), 1300};
  const std::vector<system::HttpRequest> requests(3, {server.Url(), {}, {}});
  const auto whole = [&] {
    const auto answers = Perform(requests, 1000, allowance);
    return std::ranges::count(answers, 200, &system::HttpAnswer::status);
  };
  EXPECT_EQ(whole(), 2);
  EXPECT_EQ(whole(), 0);
}

}  // namespace
}  // namespace corvessa::engine
