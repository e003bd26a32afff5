#include "accounts/product_updates.h"

#include "accounts/registry_handlers.h"
#include "base/guard.h"
#include "base/text.h"
#include "branding/customization.h"
#include "branding/message_box.h"
#include "platform/host.h"
#include "platform/system.h"
#include "settings/edition.h"

namespace corvessa {
namespace {

constexpr std::string_view kTracePrefix = "frmManageUserKeys::CheckForProductUpdates - ";

/// The page is not XML and is not parsed as such: the first "<name", anything up to the next ">",
/// then the text up to "</name>".
std::string FieldOf(std::string_view page, std::string_view name) {
  const std::size_t tag = page.find("<" + std::string(name));
  if (tag == std::string_view::npos) return {};
  const std::size_t tag_end = page.find('>', tag);
  if (tag_end == std::string_view::npos) return {};
  const std::string_view rest = page.substr(tag_end + 1);
  const std::size_t end = rest.find("</" + std::string(name) + ">");
  if (end == std::string_view::npos) return {};
  return Replace(rest.substr(0, end), "&amp;", "&");
}

std::int32_t NumberOf(std::string_view page, std::string_view name) {
  return ClampToInt32(RoundHalfEven(LeadingNumber(FieldOf(page, name))));
}

void OfferUpdate(const ProductUpdate& update, const Version& running, const Version& latest) {
  const std::string notice = Replace(update.message, "PRODUCT_NAME", Customization::AppLongName()) +
                             "\r\n\r\n" + "Your version: " + VersionText(running) + "\r\n" +
                             "Latest version: " + VersionText(latest) + "\r\n\r\n" +
                             "For more information, click OK\r\n" +
                             "To continue using this version, click Cancel";
  if (Confirm(notice)) Customization::OpenURL(update.info_url);
}

}  // namespace

ProductUpdate ParseProductUpdate(std::string_view page) {
  return {NumberOf(page, "major"), NumberOf(page, "minor"), NumberOf(page, "revision"),
          FieldOf(page, "message"), FieldOf(page, "urlInfo")};
}

void CheckForProductUpdates(bool asked_by_user) {
  Guarded(kTracePrefix, [&] {
    const std::string page = Guarded(kTracePrefix, std::string(), [] {
      return platform::Host().inet.OpenURL(RegistryHandlers::GetVersionValue("URLUpdate"));
    });
    const ProductUpdate update = ParseProductUpdate(page);
    const Version latest{update.major, update.minor, update.revision};
    const bool seen = RegistryHandlers::AlreadySeenProductUpdateMessage(latest.major, latest.minor,
                                                                        latest.revision);
    if (seen && !asked_by_user) return;
    const Version running = RunningVersion();
    if (latest > running) {
      OfferUpdate(update, running, latest);
    } else if (asked_by_user) {
      Tell("No product updates are available at this time.");
    }
  });
}

}  // namespace corvessa
