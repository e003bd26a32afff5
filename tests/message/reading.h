#pragma once

#include <gmock/gmock.h>
#include <string>
#include <string_view>

#include "base/text.h"
#include "crypto/temp_files.h"
#include "support/reading_fixture.h"

namespace corvessa::testing {

inline constexpr std::string_view kText = "The plans are in the safe.\r\n";
inline constexpr std::string_view kReport = "canary: the report";

/// Ann opens mail in her Outlook.
class ReadingMail : public ReadingFixture {
 protected:
  void SetUp() override {
    ReadingFixture::SetUp();
    ui.AllowForm("frmMessageStatus");
  }

  desk::ItemPtr HTMLMail(std::string text, std::string html) {
    desk::ItemData data;
    data.sender = {"Bob", std::string(kBob)};
    data.body = std::make_shared<const std::string>(std::move(text));
    data.html = std::make_shared<const std::string>(std::move(html));
    return outlook.AddReceived(std::move(data));
  }

  /// Nothing that was read may have stayed, and nothing have been saved.
  void ExpectNoTraces(const desk::Item& item) {
    EXPECT_THAT(TemporaryFiles(), ::testing::IsEmpty());
    EXPECT_THAT(g_colTempFiles, ::testing::IsEmpty());
    EXPECT_EQ(item.SavesByAddIn(), 0);
  }

  /// Caption and face of the add-in's buttons in the window: "Message is encrypted 1087; ".
  static std::string ButtonsOf(const desk::InspectorWindow& window) {
    std::string buttons;
    for (const auto& bar : window.Bars().All()) {
      if (!bar->IsTemporary()) continue;
      for (const auto& button : bar->Buttons()) {
        buttons +=
            button->Properties().caption + " " + Decimal(button->Properties().face_id) + "; ";
      }
    }
    return buttons;
  }
};

}  // namespace corvessa::testing
