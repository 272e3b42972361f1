// The start-up project selector: a frame with four choices that
// TProjectIntegrator::Start shows through the application's OnShowSelector.
//
//   auto* host = new xum::TForm(xum::Application());
//   auto* selector = new xum::TPrjSelector(host);
//   selector->SetParent(host);
//   integrator->SetProjectSelector(selector);
//   integrator->OnShowSelector = [host](xum::TObject*) { host->ShowModal(); };
//
// Controls, built in code and named for the component localizer:
//   OpenLastLabel "Open last project", OpenLastBtn (tag 1), LastProjectsBox
//   (a drop-down list); OpenOtherLabel "Open another existing project",
//   OpenOtherBtn (tag 2); CreateNewLabel "Create new project", CreateNewBtn
//   (tag 3); ExitLabel "Exit from this application", ExitBtn (tag 0).
// A button stores its tag as the choice and closes the form the frame is on.
// Choosing an entry of the box other than the first shows its full path as
// the box's hint (the first entry's hint is set when the box is filled).
//
// Thread safety: the main thread only.
#ifndef XUM_APP_TPRJ_SELECTOR_H
#define XUM_APP_TPRJ_SELECTOR_H

#include <vector>

#include "core/xexport.h"
#include "core/xstr.h"
#include "framework/tforms.h"
#include "framework/tstdctrls.h"

namespace xum {

class XUM_API TPrjSelectorFrm : public TFrame {
 public:
  explicit TPrjSelectorFrm(TComponent* AOwner);

  TLabel* OpenLastLabel;
  TButton* OpenLastBtn;
  TComboBox* LastProjectsBox;
  TLabel* OpenOtherLabel;
  TButton* OpenOtherBtn;
  TLabel* CreateNewLabel;
  TButton* CreateNewBtn;
  TLabel* ExitLabel;
  TButton* ExitBtn;

  // The user's choice: 0 exit, 1 open the box's project, 2 open another, 3
  // create a new one. 0 at first.
  int Choice() const noexcept { return FChoice; }
  void SetChoice(int Value) noexcept { FChoice = Value; }
  // The full paths of the box's items, in the same order.
  std::vector<xstr>& Paths() noexcept { return FPaths; }
  const std::vector<xstr>& Paths() const noexcept { return FPaths; }

  // The four buttons' click handler.
  void BtnClick(TObject* Sender);
  // Called when the user has chosen in the box.
  void LastProjectsBoxCloseUp(TObject* Sender);

 private:
  int FChoice = 0;
  std::vector<xstr> FPaths;
};

// The selector component of the integrator's ProjectSelector property.
class XUM_API TPrjSelector : public TPrjSelectorFrm {
 public:
  using TPrjSelectorFrm::TPrjSelectorFrm;
};

}  // namespace xum

#endif  // XUM_APP_TPRJ_SELECTOR_H
