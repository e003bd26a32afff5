#include "windows/outlook/other_program.h"

#include "base/error.h"
#include "idl/corvessa_pro_ol.h"
#include "windows/com/create.h"
#include "windows/com/dispatch.h"
#include "windows/com/errors.h"
#include "windows/outlook/outlook_objects.h"

namespace corvessa::testing {

using com::Variant;

Json CallCrypto(const Json& command, const desk::ItemPtr& item) {
  const com::Dispatch late(com::CreateByProgId<IDispatch>(L"CorvessaPro_OL.CryptoOperations"));
  Microsoft::WRL::ComPtr<ICryptoOperations> early;
  com::Check(late.Get()->QueryInterface(IID_PPV_ARGS(&early)));
  const Variant address(String(command, "address"));
  LONG answered = 0;
  com::Check(early->HasKeypair(address.Get().bstrVal, &answered));
  Json answer = {{"late", late.Call("HasKeypair", {address.Get()}).Number()}, {"early", answered}};
  if (!item) return answer;
  const com::Dispatch nodes(com::CreateByProgId<IDispatch>(L"CorvessaPro_OL.AttachmentNodes"));
  const Variant list(nodes.Get());
  const Variant served(ServeItem(item).Get());
  VARIANT_BOOL stored = VARIANT_FALSE;
  com::Check(
      early->StoreAllAttachments(served.Get().pdispVal, nodes.Get(), VARIANT_FALSE, &stored));
  answer["stored"] = stored != VARIANT_FALSE;
  answer["names"] = Json::array();
  for (std::int32_t i = 1; i <= nodes.GetProperty("Count").Number(); ++i) {
    const com::Dispatch node(nodes.GetObjectProperty("Item", {Variant(i).Get()}));
    answer["names"].push_back(node.GetProperty("sDisplayName").Text());
  }
  late.Call("KillAllFiles", {list.Get()});
  answer["left"] = nodes.GetProperty("Count").Number();
  try {
    late.Call("KillAllFiles", {served.Get()});
  } catch (const Error& error) {
    answer["refused"] = error.number;
  }
  return answer;
}

}  // namespace corvessa::testing
