// What sending costs, as ratios measured in one run: the add-in against the bare engine, memory
// against the number of attachments, text wrapping and the address books.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "addin/outlook_support.h"
#include "base/debug_info.h"
#include "base/text.h"
#include "message/cdo_addresses.h"
#include "support/addin_fixture.h"

namespace corvessa::testing {
namespace {

using Milliseconds = double;

constexpr int kRecipients = 100;
constexpr std::size_t kMegabyte = 1'000'000;

/// The median of several runs; `prepare` is not measured.
Milliseconds Median(int runs, const std::function<void()>& prepare,
                    const std::function<void()>& run) {
  std::vector<Milliseconds> times;
  for (int i = 0; i < runs; ++i) {
    prepare();
    const auto start = std::chrono::steady_clock::now();
    run();
    times.push_back(
        std::chrono::duration<Milliseconds, std::milli>(std::chrono::steady_clock::now() - start)
            .count());
  }
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

std::string Address(int number) {
  return "user" + std::to_string(number) + "@example.org";
}

/// Outlook with the add-in, its trace off, and keys for a number of people.
class Bench final : public AddInFixture {
 public:
  explicit Bench(int people) : AddInFixture(EngineChoice::kReal) {
    engine::KeyInfo made;
    for (int i = 0; i < people; ++i) Keys().GenerateKey("", Address(i), "secret", made);
    StoreAccount(Address(0), true);
    SetPreference("LogDebuggingInfo", 0);
    SetPreference("DisableOutgoingSigning", 1);
    ConnectAddIn();
  }
  ~Bench() override { TearDown(); }
  void TestBody() override {}

  desk::ItemPtr Draft(int recipients, std::string_view text) {
    const auto item = outlook.NewMail();
    item->EditBody(text);
    std::vector<desk::RecipientData> list;
    for (int i = 0; i < recipients; ++i) {
      list.push_back({desk::RecipientKind::kTo, Address(i), Address(i), "", {}});
    }
    item->EditRecipients(std::move(list));
    outlook.Open(item);
    return item;
  }

  void ReportSending(int recipients) {
    const std::string text(2048, 'x');
    desk::ItemPtr item;
    bool cancelled = false;
    const Milliseconds add_in = Median(
        25, [&] { item = Draft(recipients, text); },
        [&] { g_oOutlookSupport->m_oApplication_ItemSend(item, cancelled); });
    const auto vector = engine::CreateStringVector();
    for (int i = 0; i < recipients; ++i) vector->Add(Address(i));
    std::string armoured;
    const Milliseconds bare = Median(
        25, [] {}, [&] { Keys().EncryptText(*vector, text, armoured); });
    std::printf("send 2 KB to %3d             %9.3f ms   engine alone %9.3f ms   x %.2f%s\n",
                recipients, add_in, bare, add_in / bare, cancelled ? "   CANCELLED" : "");
  }

  void ReportAddressBooks() {
    desk::Directory::List entries;
    for (int i = 0; i < 100'000; ++i) {
      entries.push_back(
          {"Person Number " + std::to_string(i), Address(i), std::to_string(i), "", {}});
    }
    outlook.AddressLists().AddList(std::move(entries));
    std::string found;
    const Milliseconds time = Median(
        5, [] {}, [&] { CDO_Addresses::SearchAddressBooks("nobody at all", found); });
    std::printf("search 100,000 entries        %9.3f ms\n", time);
  }

  void SendAttachments(int number) {
    const auto item = Draft(1, "See attached.");
    for (int i = 0; i < number; ++i) {
      const std::string name = std::to_string(i) + ".bin";
      item->AddAttachment({name, name, outlook.Keep(std::string(4 * 1024 * 1024, 'x')), "", ""});
    }
    if (!outlook.Send(item)) std::printf("NOT SENT\n");
  }
};

/// Peak memory in megabytes of a process of its own that sends so many attachments of 4 MB.
double PeakOfSending(int attachments) {
  const pid_t child = fork();
  if (child == 0) {
    Bench(1).SendAttachments(attachments);
    _exit(0);
  }
  rusage usage{};
  int status = 0;
  wait4(child, &status, 0, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

Milliseconds WrappingTime(std::size_t bytes) {
  std::string text;
  while (text.size() < bytes) text += "Words of several lengths, one behind the other ";
  std::size_t wrapped = 0;
  const Milliseconds time = Median(
      5, [] {}, [&] { wrapped += WrapText(text).size(); });
  return wrapped > bytes ? time : 0;
}

void Report() {
  const double few = PeakOfSending(2);
  const double many = PeakOfSending(50);
  std::printf("peak memory, 2 and 50 attachments of 4 MB: %.1f MB and %.1f MB   x %.2f\n", few,
              many, many / few);
  const Milliseconds ten = WrappingTime(10 * kMegabyte);
  const Milliseconds twenty = WrappingTime(20 * kMegabyte);
  std::printf("wrap 10 MB                    %9.3f ms   %.0f MB/s   20 MB takes x %.2f\n", ten,
              10'000 / ten, twenty / ten);
  Bench bench(kRecipients);
  bench.ReportSending(1);
  bench.ReportSending(kRecipients);
  bench.ReportAddressBooks();
}

}  // namespace
}  // namespace corvessa::testing

int main() {
  corvessa::testing::Report();
}
