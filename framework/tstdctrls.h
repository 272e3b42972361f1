// The standard controls: edits, labels, buttons, check and radio buttons,
// group boxes, list and combo boxes, tab sheets. Their class tree follows
// the host framework's, because code tests controls by class (a bit button
// is a button; a check list box is a list box control but not a TListBox).
//
// Thread safety: controls belong to the main thread.
#ifndef XUM_FRAMEWORK_TSTDCTRLS_H
#define XUM_FRAMEWORK_TSTDCTRLS_H

#include <vector>

#include "core/xexport.h"
#include "framework/tcontrol.h"
#include "framework/tforms.h"
#include "framework/tstrings.h"

namespace xum {

class XUM_API TCustomEdit : public TWinControl {
 public:
  using TWinControl::TWinControl;
  bool ReadOnly() const noexcept { return FReadOnly; }
  void SetReadOnly(bool Value) noexcept { FReadOnly = Value; }
  int MaxLength() const noexcept { return FMaxLength; }
  void SetMaxLength(int Value) noexcept { FMaxLength = Value; }
  TNotifyEvent OnChange;
  // Text changes call OnChange.
  void SetCaption(const UnicodeString& Value) override;

 private:
  bool FReadOnly = false;
  int FMaxLength = 0;
};

class XUM_API TEdit : public TCustomEdit {
 public:
  using TCustomEdit::TCustomEdit;
};

class XUM_API TStaticText : public TWinControl {
 public:
  using TWinControl::TWinControl;
};

class XUM_API TCustomLabel : public TGraphicControl {
 public:
  using TGraphicControl::TGraphicControl;
  // The control a label's accelerator focuses.
  TWinControl* FocusControl() const noexcept { return FFocusControl; }
  void SetFocusControl(TWinControl* Value);
  void Notification(TComponent* AComponent, TOperation Operation) override;

 private:
  TWinControl* FFocusControl = nullptr;
};

class XUM_API TLabel : public TCustomLabel {
 public:
  using TCustomLabel::TCustomLabel;
};

class XUM_API TButtonControl : public TWinControl {
 public:
  using TWinControl::TWinControl;
};

class XUM_API TButton : public TButtonControl {
 public:
  using TButtonControl::TButtonControl;
  // Pressing the button sets this result on its form, which ends a modal
  // display.
  TModalResult ModalResult() const noexcept { return FModalResult; }
  void SetModalResult(TModalResult Value) noexcept { FModalResult = Value; }
  bool Default() const noexcept { return FDefault; }
  void SetDefault(bool Value) noexcept { FDefault = Value; }
  bool Cancel() const noexcept { return FCancel; }
  void SetCancel(bool Value) noexcept { FCancel = Value; }
  // Sets the form's modal result, then clicks.
  void Click() override;

 private:
  TModalResult FModalResult = mrNone;
  bool FDefault = false;
  bool FCancel = false;
};

class XUM_API TBitBtn : public TButton {
 public:
  using TButton::TButton;
  // The button image: NumGlyphs pictures side by side (normal, disabled,
  // pressed, down).
  TBitmap& Glyph() noexcept { return FGlyph; }
  const TBitmap& Glyph() const noexcept { return FGlyph; }
  void SetGlyph(const TBitmap& Value) { FGlyph.Assign(Value); }
  int NumGlyphs() const noexcept { return FNumGlyphs; }
  void SetNumGlyphs(int Value) noexcept { FNumGlyphs = Value < 1 ? 1 : Value > 4 ? 4 : Value; }

 private:
  TBitmap FGlyph;
  int FNumGlyphs = 1;
};

enum TCheckBoxState { cbUnchecked, cbChecked, cbGrayed };

class XUM_API TCustomCheckBox : public TButtonControl {
 public:
  using TButtonControl::TButtonControl;
  bool Checked() const noexcept { return FState == cbChecked; }
  void SetChecked(bool Value) { SetState(Value ? cbChecked : cbUnchecked); }
  TCheckBoxState State() const noexcept { return FState; }
  void SetState(TCheckBoxState Value);
  // Toggles, then clicks.
  void Click() override;

 private:
  TCheckBoxState FState = cbUnchecked;
};

class XUM_API TCheckBox : public TCustomCheckBox {
 public:
  using TCustomCheckBox::TCustomCheckBox;
};

class XUM_API TRadioButton : public TButtonControl {
 public:
  using TButtonControl::TButtonControl;
  bool Checked() const noexcept { return FChecked; }
  // Checking one radio button unchecks the others of the same parent.
  void SetChecked(bool Value);
  void Click() override;

 private:
  bool FChecked = false;
};

class XUM_API TCustomGroupBox : public TWinControl {
 public:
  using TWinControl::TWinControl;
};

class XUM_API TGroupBox : public TCustomGroupBox {
 public:
  using TCustomGroupBox::TCustomGroupBox;
};

class XUM_API TCustomRadioGroup : public TCustomGroupBox {
 public:
  using TCustomGroupBox::TCustomGroupBox;
  TStrings& Items() noexcept { return FItems; }
  const TStrings& Items() const noexcept { return FItems; }
  // -1 for none; out of range throws xexception 0.
  int ItemIndex() const noexcept { return FItemIndex; }
  void SetItemIndex(int Value);
  int Columns() const noexcept { return FColumns; }
  void SetColumns(int Value) noexcept { FColumns = Value < 1 ? 1 : Value; }

 private:
  TStringList FItems;
  int FItemIndex = -1;
  int FColumns = 1;
};

class XUM_API TRadioGroup : public TCustomRadioGroup {
 public:
  using TCustomRadioGroup::TCustomRadioGroup;
};

// Controls that show a list of items with a current item.
class XUM_API TCustomListControl : public TWinControl {
 public:
  using TWinControl::TWinControl;
  virtual int ItemCount() const = 0;
  // -1 for none; out of range throws xexception 0.
  virtual int ItemIndex() const { return FItemIndex; }
  virtual void SetItemIndex(int Value);

 protected:
  int FItemIndex = -1;
};

// List controls where several items may be selected.
class XUM_API TCustomMultiSelectListControl : public TCustomListControl {
 public:
  using TCustomListControl::TCustomListControl;
  bool MultiSelect() const noexcept { return FMultiSelect; }
  void SetMultiSelect(bool Value) noexcept { FMultiSelect = Value; }
  // Selected items: with multi-selection their count, otherwise 1 when an
  // item is current and 0 when none is.
  virtual int SelCount() const = 0;

 private:
  bool FMultiSelect = false;
};

class XUM_API TCustomListBox : public TCustomMultiSelectListControl {
 public:
  explicit TCustomListBox(TComponent* AOwner);
  TStrings& Items() noexcept { return FItems; }
  const TStrings& Items() const noexcept { return FItems; }
  int ItemCount() const override { return FItems.Count(); }
  // Per-item selection for multi-selection boxes.
  bool Selected(int Index) const;
  void SetSelected(int Index, bool Value);
  int SelCount() const override;
  void SetItemIndex(int Value) override;

 private:
  void items_changed();
  TStringList FItems;
  std::vector<bool> FSelected;
};

class XUM_API TListBox : public TCustomListBox {
 public:
  using TCustomListBox::TCustomListBox;
};

class XUM_API TCheckListBox : public TCustomListBox {
 public:
  explicit TCheckListBox(TComponent* AOwner);
  // The check mark of item i; out of range throws xexception 0.
  bool Checked(int Index) const;
  void SetChecked(int Index, bool Value);

 private:
  std::vector<bool> FChecked;
};

enum TComboBoxStyle { csDropDown, csSimple, csDropDownList, csOwnerDrawFixed, csOwnerDrawVariable };

class XUM_API TCustomCombo : public TCustomListControl {
 public:
  explicit TCustomCombo(TComponent* AOwner);
  TStrings& Items() noexcept { return FItems; }
  const TStrings& Items() const noexcept { return FItems; }
  int ItemCount() const override { return FItems.Count(); }
  // Selecting an item puts its text into the edit part.
  void SetItemIndex(int Value) override;
  TNotifyEvent OnChange;

 private:
  TStringList FItems;
};

class XUM_API TCustomComboBox : public TCustomCombo {
 public:
  using TCustomCombo::TCustomCombo;
  TComboBoxStyle Style() const noexcept { return FStyle; }
  void SetStyle(TComboBoxStyle Value) noexcept { FStyle = Value; }
  int DropDownCount() const noexcept { return FDropDownCount; }
  void SetDropDownCount(int Value) noexcept { FDropDownCount = Value; }

 private:
  TComboBoxStyle FStyle = csDropDown;
  int FDropDownCount = 8;
};

class XUM_API TComboBox : public TCustomComboBox {
 public:
  using TCustomComboBox::TCustomComboBox;
};

class XUM_API TTabSheet : public TWinControl {
 public:
  using TWinControl::TWinControl;
  bool TabVisible() const noexcept { return FTabVisible; }
  void SetTabVisible(bool Value) noexcept { FTabVisible = Value; }
  int PageIndex() const noexcept { return FPageIndex; }
  void SetPageIndex(int Value) noexcept { FPageIndex = Value; }

 private:
  bool FTabVisible = true;
  int FPageIndex = 0;
};

}  // namespace xum

#endif  // XUM_FRAMEWORK_TSTDCTRLS_H
