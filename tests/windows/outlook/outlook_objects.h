#pragma once

#include "desk/outlook/outlook_model.h"
#include "windows/outlook/served_object.h"

/// The house's Outlook model as the objects of Outlook, Redemption and CDO.
namespace corvessa::testing {

DispatchPtr ServeApplication(desk::OutlookModel& model);
DispatchPtr ServeItem(const platform::MailItemPtr& item);

/// Makes Redemption's and CDO's classes known in this process, over the model, until destroyed; not
/// those whose program IDs are said to be missing.
class ServedLibraries {
 public:
  ServedLibraries(desk::OutlookModel& model, const std::vector<std::string>& missing);
  ~ServedLibraries();
  ServedLibraries(const ServedLibraries&) = delete;
  ServedLibraries& operator=(const ServedLibraries&) = delete;

 private:
  std::vector<DWORD> cookies_;
};

}  // namespace corvessa::testing
