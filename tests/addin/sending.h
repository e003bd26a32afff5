#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "support/addin_fixture.h"

namespace corvessa::testing {

/// What must never be found in the clear.
inline constexpr std::string_view kCanary = "canary-5e11";
inline constexpr std::string_view kText =
    "Dear Bob,\r\n\r\n- canary-5e11 \xE2\x82\xAC\r\n--Ann\r\n";

/// Ann's Outlook with the real engine. Ann signs; Bob's key is in her rings too, so that the add-in
/// can be asked what Bob would see. Dan has no key.
class Sending : public AddInFixture {
 protected:
  explicit Sending(std::string outlook_version = "9.0.0.2711");

  /// Opens a draft to Bob in a window with the options bar.
  desk::ItemPtr Draft();
  void Attach(const desk::ItemPtr& item, const std::string& name, std::string_view content);
  /// Turns off what is not wanted, with the buttons of the options bar.
  void Choose(const desk::ItemPtr& item, bool encrypt, bool sign);
  /// Every login from now on is answered with that passphrase.
  void LogInWith(std::string passphrase);
};

/// The names and contents, as "name: content", in order.
std::vector<std::string> Attachments(const desk::ItemData& data);

}  // namespace corvessa::testing
