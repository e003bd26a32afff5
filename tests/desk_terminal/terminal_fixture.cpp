#include "desk_terminal/terminal_fixture.h"

#include <fcntl.h>
#include <unistd.h>

#include "accounts/frm_login.h"
#include "accounts/nimbra_account.h"
#include "addin/process_state.h"
#include "forms/form.h"
#include "platform/host.h"

namespace corvessa::testing {

TerminalTest::TerminalTest()
    : output_(open((profile / "drawn").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
  Start(open("/dev/null", O_RDONLY | O_CLOEXEC), false);
}

TerminalTest::~TerminalTest() {
  ResetProcessState();
  DropLoadedForms();
  platform::RemoveHost();
  ui_.reset();
  close(input_);
  close(output_);
}

void TerminalTest::Start(int input, bool is_there) {
  if (ui_) platform::RemoveHost();
  ui_.reset();
  if (input_ >= 0) close(input_);
  input_ = input;
  terminal_.emplace(input_, output_, is_there);
  ui_ = std::make_unique<desk::TerminalUi>(
      *terminal_, answers,
      desk::TerminalUiOptions{messages, "corvessa-desk", {}, [this] { return time += step; }});
  platform::InstallHost({outlook_.Cdo(),
                         clipboard_,
                         clock_,
                         engine_,
                         files_,
                         inet_,
                         outlook_.Redemption(),
                         registry_,
                         shell_,
                         *ui_,
                         {}});
}

void TerminalTest::Sit(std::string_view lines) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  ASSERT_EQ(write(ends[1], lines.data(), lines.size()), static_cast<ssize_t>(lines.size()));
  close(ends[1]);
  Start(ends[0], true);
}

std::string TerminalTest::Drawn() {
  std::string text(static_cast<std::size_t>(lseek(output_, 0, SEEK_END)), '\0');
  EXPECT_EQ(pread(output_, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
  EXPECT_EQ(ftruncate(output_, 0), 0);
  lseek(output_, 0, SEEK_SET);
  return text;
}

std::vector<std::string> TerminalTest::Boxes() const {
  std::vector<std::string> boxes;
  for (const desk::ShownBox& box : ui_->Boxes()) {
    boxes.push_back(box.name + "|" + box.caption + "|" + box.text + "|" + box.answer);
  }
  return boxes;
}

void TerminalTest::SecureAddresses(const std::vector<std::string>& addresses) {
  for (const std::string& address : addresses) {
    g_colAccounts.push_back(std::make_shared<NimbraAccount>());
    g_colAccounts.back()->m_sAlias = address;
  }
}

std::string TerminalTest::Login(LoginReason reason) {
  const NimbraAccountPtr account = std::make_shared<frmLogin>()->DoLogin(reason, "", true);
  return account ? account->m_sAlias + " " + std::string(account->m_sPassword.View()) : "none";
}

}  // namespace corvessa::testing
