#pragma once

#include "platform/outlook.h"

namespace corvessa {

/// An item's text in both forms as it was at one moment. Shared with the item, not copied.
class MessageBody {
 public:
  explicit MessageBody(const platform::MailItemPtr& item)
      : plain_(item->Body()), html_(item->HTMLBody()) {}

  bool HasHTML() const { return !html_->empty(); }

  /// Makes the item's text what it was, unless it still is. Writing the HTML form also makes the
  /// plain one.
  void PutBack(const platform::MailItemPtr& item) const {
    if (*item->HTMLBody() == *html_ && *item->Body() == *plain_) return;
    if (HasHTML()) {
      item->SetHTMLBody(*html_);
    } else {
      item->SetBody(*plain_);
    }
  }

 private:
  platform::SharedText plain_;
  platform::SharedText html_;
};

}  // namespace corvessa
