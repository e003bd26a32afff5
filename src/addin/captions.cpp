#include "addin/captions.h"

#include "branding/customization.h"

namespace corvessa {

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

}  // namespace corvessa
