#pragma once

#include "branding/branded_form.h"
#include "ui/controls.h"

namespace corvessa {

/// Names the product, its version and its web site.
class frmAbout final : public BrandedForm {
 public:
  frmAbout();

  Label lblTitle{*this, "lblTitle", {7, 62, 306, 13}, "<!-- LONGNAME -->"};
  Label lblVersion{*this, "lblVersion", {7, 80, 306, 13}};
  Label lblDescription{
      *this, "lblDescription", {7, 98, 306, 13}, "Powered by the Nimbra Encryption Engine"};
  CommandButton cmdNimbraSite{
      *this, "cmdNimbraSite", {7, 118, 160, 23}, "<!-- SHORTNAME --> &Web Site"};
  CommandButton cmdOK{*this, "cmdOK", {238, 118, 75, 23}, "&Ok"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 306, 48}};

 private:
  void Form_Load() override;
};

}  // namespace corvessa
