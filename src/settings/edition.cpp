#include "settings/edition.h"

#include "base/guard.h"
#include "base/text.h"
#include "platform/host.h"
#include "platform/registry.h"
#include "settings/registry_values.h"

namespace corvessa {

std::string RegistryHandlers::GetVersionValue(std::string_view name) {
  return Guarded("RegistryHandlers:GetVersionValue - ", std::string(), [&] {
    const platform::RegistryKeyPtr key =
        OpenKey(platform::Host().registry.LocalMachine(), kVersionKey);
    return key ? key->ReadString(name, kStringBufferBytes) : std::string();
  });
}

namespace Customization {

using RegistryHandlers::GetVersionValue;

std::string AppShortName() {
  return GetVersionValue("AppShortName");
}
std::string AppLongName() {
  return GetVersionValue("AppLongName");
}
std::string EnginePGPMessageHeader() {
  return GetVersionValue("EnginePGPMessageHeader");
}
std::string EnginePGPSignatureHeader() {
  return GetVersionValue("EnginePGPSignatureHeader");
}
std::string EngineCustomerID() {
  return GetVersionValue("EngineCustomerID");
}
std::string EngineLookupServer() {
  return GetVersionValue("EngineLookupServer");
}
std::string EngineUpdateServer() {
  return GetVersionValue("EngineUpdateServer");
}

}  // namespace Customization

std::string g_sOptionsCaption;
std::string g_sStatusCaption;
std::string g_sDecryptNowCaption;
std::string g_sDecryptAttachmentsCaption;
std::string g_sEncryptedReplyCaption;

void BuildCaptions() {
  const std::string name = Customization::AppShortName();
  g_sOptionsCaption = name + " Options";
  g_sStatusCaption = name + " Status";
  g_sDecryptNowCaption = name + " Decrypt Now";
  g_sDecryptAttachmentsCaption = name + " Decrypt Attachments";
  g_sEncryptedReplyCaption = name + " Encrypted Reply";
}

void ClearCaptions() noexcept {
  for (std::string* caption : {&g_sOptionsCaption, &g_sStatusCaption, &g_sDecryptNowCaption,
                               &g_sDecryptAttachmentsCaption, &g_sEncryptedReplyCaption}) {
    caption->clear();
  }
}

Version RunningVersion() {
  const platform::ProductInfo& product = platform::Host().product;
  return {product.major_version, product.minor_version, product.revision};
}

std::string VersionText(const Version& version) {
  return Decimal(version.major) + "." + Decimal(version.minor) + "." + Decimal(version.revision);
}

}  // namespace corvessa
