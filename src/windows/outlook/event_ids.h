#pragma once

#include <guiddef.h>

/// Outlook's and Office's event sets, and the numbers of the events that the add-in takes part in.
namespace corvessa::windows {

constexpr GUID OutlookId(unsigned long first) {
  return {first, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
}

inline constexpr GUID kApplicationEvents = OutlookId(0x0006304E);
inline constexpr GUID kExplorersEvents = OutlookId(0x00063078);
inline constexpr GUID kInspectorsEvents = OutlookId(0x00063079);
inline constexpr GUID kExplorerEvents = OutlookId(0x0006304F);
inline constexpr GUID kInspectorEvents = OutlookId(0x0006307D);
inline constexpr GUID kItemEvents = OutlookId(0x0006303A);
inline constexpr GUID kButtonEvents = OutlookId(0x000C0351);

inline constexpr long kItemSend = 0xF002;
/// NewExplorer of Explorers, NewInspector of Inspectors.
inline constexpr long kNewWindow = 0xF001;
inline constexpr long kExplorerClose = 0xF008;
inline constexpr long kInspectorActivate = 0xF001;
inline constexpr long kInspectorDeactivate = 0xF006;
inline constexpr long kInspectorClose = 0xF008;

inline constexpr long kItemRead = 0xF001;
inline constexpr long kItemOpen = 0xF003;
inline constexpr long kItemClose = 0xF004;
inline constexpr long kItemPropertyChange = 0xF009;
inline constexpr long kItemAttachmentRead = 0xF00C;
inline constexpr long kItemReply = 0xF466;
inline constexpr long kItemReplyAll = 0xF467;
inline constexpr long kItemForward = 0xF468;

inline constexpr long kButtonClick = 1;

}  // namespace corvessa::windows
