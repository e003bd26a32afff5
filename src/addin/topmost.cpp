#include "addin/topmost.h"

#include "forms/form.h"

namespace corvessa {

void SetTopmost(Form& form, bool topmost) {
  form.SetTopmost(topmost);
}

}  // namespace corvessa
