#include "ui/form.h"

#include "base/debug_info.h"
#include "base/guard.h"
#include "settings/settings.h"
#include "support/addin_fixture.h"
#include "ui/controls.h"

namespace corvessa::testing {
namespace {

class FormModel : public AddInFixture {};

TEST_F(FormModel, AHandlersErrorIsTracedAndGoesNoFurther) {
  class frmFaulty final : public Form {
   public:
    frmFaulty() : Form("frmFaulty", "Faulty", 200, 100) {
      cmdOK.OnClick = [] { Raise(kOverflow); };
    }
    CommandButton cmdOK{*this, "cmdOK", {7, 7, 75, 23}, "&Ok"};
  };
  g_bLogDebuggingInfo = true;
  AllowError("frmFaulty::cmdOK_Click - ");
  std::make_shared<frmFaulty>()->cmdOK.Press();
  EXPECT_EQ(Trace(), std::vector<std::string>{"frmFaulty::cmdOK_Click - Overflow"});
}

}  // namespace
}  // namespace corvessa::testing
