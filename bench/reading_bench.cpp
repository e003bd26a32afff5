// What reading mail costs on top of what has to be done anyway: of Outlook's own opening, of the
// bare engine calls, of a smaller message. All figures of a line come from one run.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "base/debug_info.h"
#include "base/text.h"
#include "message/message_operations.h"
#include "support/mail_fixture.h"

namespace corvessa::testing {
namespace {

using Work = std::function<void()>;

/// The best of several rounds, because other programs only ever make a round slower.
double Microseconds(int repeats, const Work& work) {
  constexpr int kRounds = 7;
  double best = 1e300;
  for (int round = 0; round < kRounds; ++round) {
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < repeats; ++i) work();
    const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - begin;
    best = std::min(best, time.count() / repeats);
  }
  return best;
}

void Require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "failed: %s\n", what);
  std::exit(1);
}

/// The process's peak of memory so far.
double PeakMebibytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::atof(line.c_str() + 6) / 1024;
  }
  return 0;
}

class Reading final : public MailFixture {
 public:
  Reading() { SetPreference("LogDebuggingInfo", 0); }
  ~Reading() override { TearDown(); }
  void TestBody() override {}

  void PlainMessage() {
    const auto small = Received(std::string(1024, 'x'));
    const auto large = Received(std::string(1U << 20U, 'x'));
    const double bare = Microseconds(200, [&] { OpenAndClose(large); });
    ConnectAddIn();
    Require(outlook.Open(large)->Bars().Find("Corvessa Status") != nullptr, "watching");
    OpenAndClose(large);
    const double with_small = Microseconds(200, [&] { OpenAndClose(small); });
    const double with_large = Microseconds(200, [&] { OpenAndClose(large); });
    std::printf(
        "plain message, 1 MiB: Outlook alone %.1f us, with the add-in %.1f us more; "
        "1 MiB / 1 KiB %.2f\n",
        bare, with_large - bare, with_large / with_small);
  }

  void Tabs() {
    const auto shown = [](std::size_t tabs) {
      return Microseconds(1, [text = std::string(tabs, '\t')] {
        Require(ForDisplayLines(text).size() == text.size() * 8, "widening");
      });
    };
    std::printf("line of tabs as shown: 80,000 / 20,000 %.2f\n", shown(80'000) / shown(20'000));
  }

  void ProtectedMessage() {
    const std::string text = HardToCompress(1500) + "\r\n";
    const std::string armour = Encrypted(Signed(text));
    const auto item = Received(armour);
    ExpectLogin(kPassphrase);
    const auto window = outlook.Open(item);
    Require(*item->Data().body == text, "reading");
    outlook.Close(window);
    Require(Keys().AuthenticateAccount(kAnn, kPassphrase) == 0, "unlocking");
    const double engine = Microseconds(20, [&] { DecryptAndVerify(armour); });
    const double add_in = Microseconds(20, [&] { OpenAndClose(item); });
    std::printf("encrypted and signed, %zu bytes: engine %.0f us, add-in %.0f us, ratio %.2f\n",
                armour.size(), engine, add_in, add_in / engine);
  }

  void DuplicateNames() {
    const double half = Microseconds(
        5, [&, item = WithAttachments(500)] { Require(!HasDuplicateFilenames(item), "names"); });
    const double whole = Microseconds(
        5, [&, item = WithAttachments(1000)] { Require(!HasDuplicateFilenames(item), "names"); });
    std::printf("duplicate names, 1,000 attachments: %.0f us, 1,000 / 500 %.2f\n", whole,
                whole / half);
  }

  void ManyAttachments() {
    const std::string cipher = EncryptedFile(std::string(4U << 20U, 'x'));
    const double before = PeakMebibytes();
    OpenAndClose(Received(Encrypted("x"), Copies(5, cipher)));
    const double few = PeakMebibytes();
    OpenAndClose(Received(Encrypted("x"), Copies(50, cipher)));
    const double many = PeakMebibytes();
    std::printf("attachments of 4 MiB: peak %.1f MiB before, %.1f with 5, %.1f with 50\n", before,
                few, many);
  }

 private:
  void OpenAndClose(const desk::ItemPtr& item) { outlook.Close(outlook.Open(item)); }

  static std::string HardToCompress(std::size_t size) {
    std::mt19937 random(1);
    std::string text(size, ' ');
    for (char& c : text) c = static_cast<char>('a' + random() % 26);
    return text;
  }

  void DecryptAndVerify(const std::string& armour) {
    std::string text;
    std::string content;
    ScriptedStringVector signers;
    ScriptedStringVector unknown;
    Require(Keys().DecryptTextEx(armour, nullptr, text) == 0, "decrypting");
    Require(Keys().VerifyText(text, signers, unknown, content) == 1, "verifying");
  }

  desk::ItemPtr WithAttachments(int count) {
    auto item = outlook.NewMail();
    const auto content = outlook.Keep("x");
    for (int i = 0; i < count; ++i) {
      const std::string name = "attachment " + std::to_string(i);
      item->AddAttachment({name, name, content, "", ""});
    }
    return item;
  }

  static std::vector<std::pair<std::string, std::string>> Copies(int count,
                                                                 const std::string& content) {
    std::vector<std::pair<std::string, std::string>> copies;
    copies.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) copies.emplace_back(std::to_string(i) + ".bin", content);
    return copies;
  }
};

}  // namespace
}  // namespace corvessa::testing

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  corvessa::testing::Reading reading;
  reading.PlainMessage();
  reading.Tabs();
  reading.ProtectedMessage();
  reading.DuplicateNames();
  reading.ManyAttachments();
  return 0;
}
