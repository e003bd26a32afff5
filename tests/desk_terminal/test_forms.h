#pragma once

#include <string>

#include "forms/controls.h"
#include "forms/form.h"
#include "forms/list_controls.h"

namespace corvessa::testing {

/// A form with one control of every kind, laid out as a settings dialog is.
class frmAll final : public Form {
 public:
  frmAll() : Form("frmAll", "All & everything", 400, 300) {
    lstRows.AddRow("first");
    lstRows.AddRow("second");
    lvwRows.ColumnHeader = "Addresses";
    lvwRows.AddRow("ann@example.org");
    lvwRows.SetSmallIcon(0, "Signer");
    lvwRows.Select(0);
    chkOff.Enabled = false;
    optPick[0].PutInto(fraPick);
    optPick[1].PutInto(fraPick);
    cmdHidden.Visible = false;
    cmdOK.Default = true;
    cmdCancel.Cancel = true;
    cmdOK.OnClick = [this] { Unload(); };
    cmdCancel.OnClick = [this] { Hide(); };
    cmdAdd.OnClick = [this] { lstRows.AddRow("added"); };
    txtLine.OnLostFocus = [this] { ++left; };
  }

  TabStrip tbsTabs{*this, "tbsTabs", {0, 0, 400, 250}, {"One", "Two"}};
  // The label is level with its box, not above it.
  Label lblLine{*this, "lblLine", {10, 34, 80, 13}, "&Name:"};
  TextBox txtLine{*this, "txtLine", {100, 30, 80, 21}};
  ListBox lstRows{*this, "lstRows", {10, 60, 200, 80}, true};
  CommandButton cmdAdd{*this, "cmdAdd", {220, 60, 75, 23}, "&Add"};
  CommandButton cmdRemove{*this, "cmdRemove", {220, 90, 75, 23}, "Remo&ve"};
  ListView lvwRows{*this, "lvwRows", {10, 145, 200, 40}};
  CheckBox chkOn{*this, "chkOn", {10, 190, 100, 17}, "&Sign && send"};
  CheckBox chkOff{*this, "chkOff", {10, 210, 100, 17}, "&Off"};
  Frame fraPick{*this, "fraPick", {10, 230, 300, 40}, "Pick"};
  OptionButton optPick[2]{{*this, "optPick", 0, {12, 240, 50, 17}, "Yes"},
                          {*this, "optPick", 1, {80, 240, 50, 17}, "No"}};
  CommandButton cmdHidden{*this, "cmdHidden", {10, 275, 75, 23}, "&Ok"};
  CommandButton cmdOK{*this, "cmdOK", {10, 275, 75, 23}, "&Ok"};
  CommandButton cmdCancel{*this, "cmdCancel", {100, 275, 75, 23}, "&Abort"};
  int left = 0;
};

/// Ticks every hundred milliseconds.
class frmTicking final : public Form {
 public:
  frmTicking() : Form("frmTicking", "", 0, 0) {
    tmrTick.OnTimer = [this] { ++ticks; };
  }
  Timer tmrTick{*this, "tmrTick", 100};
  int ticks = 0;
};

}  // namespace corvessa::testing
