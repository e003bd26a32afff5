#include "ui/controls.h"
#include "windows/forms/forms_fixture.h"

/// A passphrase in the window that it is typed into.
namespace corvessa::testing {
namespace {

/// The letters of a passphrase that stands nowhere in this program.
char Letter(std::size_t place) {
  return static_cast<char>('!' + place * 37 % 90);
}
constexpr std::size_t kSecretSize = 70;

/// How often a part of the passphrase is in the memory of this process, as one letter of so many
/// bytes beside the other.
int CountSecrets(std::size_t width) {
  constexpr std::size_t kPart = 8;
  constexpr DWORD kWritable =
      PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
  const auto is_part = [&](const unsigned char* at) {
    const std::size_t first = 20;
    for (std::size_t i = 0; i < kPart * width; ++i) {
      const auto expected = i % width == 0 ? Letter(first + i / width) : '\0';
      if (at[i] != static_cast<unsigned char>(expected)) return false;
    }
    return true;
  };
  int found = 0;
  MEMORY_BASIC_INFORMATION region = {};
  for (const char* at = nullptr; VirtualQuery(at, &region, sizeof region) != 0;
       at = static_cast<const char*>(region.BaseAddress) + region.RegionSize) {
    const bool is_readable = region.State == MEM_COMMIT && (region.Protect & kWritable) != 0 &&
                             (region.Protect & PAGE_GUARD) == 0;
    if (!is_readable) continue;
    const auto* const begin = static_cast<const unsigned char*>(region.BaseAddress);
    for (std::size_t i = 0; i + kPart * width <= region.RegionSize; ++i)
      found += is_part(begin + i);
  }
  return found;
}

TEST_F(FormsTest, APassphraseStaysInItsBoxAndNowhereWhenTheFormIsClosed) {
  FormPtr form = Make("login");
  const HWND box = FindControl(Show(*form), "txtPassword");
  const auto type = [&] {
    for (std::size_t i = 0; i < kSecretSize; ++i) {
      Send(box, WM_CHAR, static_cast<WPARAM>(Letter(i)));
    }
  };
  type();
  EXPECT_EQ(form->Find<TextBox>("txtPassword")->Text().size(), kSecretSize);
  EXPECT_FALSE(Send(box, EM_CANUNDO));
  Send(box, EM_SETSEL, 0, -1);
  Send(box, WM_COPY);
  EXPECT_FALSE(IsClipboardFormatAvailable(CF_UNICODETEXT));
  EXPECT_EQ(Send(box, EM_GETPASSWORDCHAR), '*');
  // What is typed over what is selected is kept for undoing.
  type();
  EXPECT_GE(CountSecrets(1), 1);
  EXPECT_GE(CountSecrets(sizeof(wchar_t)), 1);
  form->Find<TextBox>("txtPassword")->SetText("");
  EXPECT_EQ(TextOf(box), "");
  EXPECT_EQ(CountSecrets(1), 0) << "cleared";
  type();
  form->Unload();
  form = nullptr;
  host.ui.DoEvents();
  EXPECT_EQ(CountSecrets(1), 0);
  EXPECT_EQ(CountSecrets(sizeof(wchar_t)), 0);
}

}  // namespace
}  // namespace corvessa::testing
