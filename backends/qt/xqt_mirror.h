// The mirror of one model form in Qt widgets: the form becomes a top-level
// window (a dialog while it is shown modally), each control its natural
// widget, placed where the model lays it out. The model stays the one
// source of truth: sync() brings the widgets in line with it (run before
// Qt's loop waits), and the widgets' signals feed the user's acts back to
// the model through the backend's deliver().
//
//   control          widget
//   TCustomForm      top-level QWidget, with a QMenuBar for its root menu items
//   TEdit            QLineEdit          TLabel, TStaticText  QLabel
//   TButton          QPushButton        TBitBtn     QPushButton with its glyph
//   TCheckBox        QCheckBox          TRadioButton  QRadioButton
//   TGroupBox        QGroupBox          TRadioGroup   QGroupBox of QRadioButtons
//   TListBox         QListWidget        TCheckListBox QListWidget, checkable
//   TComboBox        QComboBox (editable unless csDropDownList)
//   TListView        QTreeWidget with the columns as header
//   TTreeView        QTreeWidget        TValueListEditor  QTableWidget
//   TToolBar         QToolBar, a QAction per TToolButton with its image
//   TScrollBox       QScrollArea        other containers  QWidget
//   registered kinds (backends/qt/xqt_widget_kind.h) come before all these
//
// Keys: a key pressed in the window goes to the form's key dispatch
// (TCustomForm::DispatchKeyDown, then DispatchKeyPress with its text), with
// the focused widget's control made the form's active control first; a key
// the model consumed goes no further in Qt. A form's ActiveControl set in
// the model moves the focus at the next sync.
//
// The window's place and size follow the form's bounds both ways (a form
// left at 0,0 is placed by the window system, which then reports where).
//
// A control destroyed in the model loses its widget at once (the mirror
// asks for the model's free notification).
//
// Thread safety: the main thread only.
#ifndef XUM_BACKENDS_QT_XQT_MIRROR_H
#define XUM_BACKENDS_QT_XQT_MIRROR_H

#include <QPoint>
#include <QPointer>
#include <QString>
#include <QWidget>
#include <functional>
#include <map>

#include "framework/tcomponent.h"

class QWidget;
class QMenuBar;

namespace xum {

class TControl;
class TCustomForm;
class TMenuItem;

class xqt_mirror final : public TComponent {
 public:
  // How the mirror hands a user's act to the model (the backend runs it
  // as an act of the form's modal loop, or under HandleException).
  using deliver_fn = std::function<void(TCustomForm& form, const std::function<void()>& act)>;

  xqt_mirror(TCustomForm& form, deliver_fn deliver);
  ~xqt_mirror() override;

  TCustomForm* form() const noexcept { return form_; }
  QWidget* window() const noexcept { return window_; }
  // The widget of `control`, or null.
  QWidget* widget_of(const TControl& control) const;

  // Creates what is missing, updates what changed, shows or hides the
  // window as the form's Visible says.
  void sync();

  void Notification(TComponent* AComponent, TOperation Operation) override;

  // A key event that reached `focus` (a widget of this window, or the
  // window): runs the form's key dispatch; true when the model consumed it.
  bool key(QWidget* focus, int vk, unsigned shift, const QString& text);

 private:
  struct entry {
    QWidget* widget;
    QWidget* client;  // where children go (the widget itself, or a scroll area's page)
    int kind;         // index into xqt_widget_kinds(), -1: a stock widget
  };
  QWidget* create(TControl& control, QWidget* parent);
  void sync_control(TControl& control, QWidget* parent);
  void update(TControl& control, QWidget* widget);
  void sync_menu();
  void act(const std::function<void()>& what);

  TCustomForm* form_;
  deliver_fn deliver_;
  QWidget* window_;
  QWidget* client_;
  QMenuBar* menu_bar_ = nullptr;
  std::map<const TComponent*, entry> widgets_;
  std::map<const TComponent*, int> menu_items_;                  // menu items watched for removal
  std::map<const TComponent*, QPointer<QWidget>> tool_buttons_;  // tool button -> its bar
  QString menu_print_;
  int menu_height_ = 0;
  // The window's place as last agreed with the model; a form never moved
  // from 0,0 is placed by the window system.
  QPoint placed_{0, 0};
  const TControl* focused_ = nullptr;  // the ActiveControl last brought to Qt
  bool menu_dirty_ = true;
  bool syncing_ = false;
};

}  // namespace xum

#endif  // XUM_BACKENDS_QT_XQT_MIRROR_H
