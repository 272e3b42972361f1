#include "backends/qt/xqt_mirror.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QGroupBox>
#include <QHeaderView>
#include <QIcon>
#include <QImage>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QResizeEvent>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QTableWidget>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <QWidget>

#include "backends/qt/xqt_text.h"
#include "backends/qt/xqt_widget_kind.h"
#include "framework/tcomctrls.h"
#include "framework/tforms.h"
#include "framework/timglist.h"
#include "framework/tmenus.h"
#include "framework/tstdctrls.h"

namespace xum {

namespace {

// Runs `on_event` for the events of a widget; returning true swallows one.
class event_hook final : public QObject {
 public:
  event_hook(QObject* parent, std::function<bool(QEvent*)> on_event)
      : QObject(parent), on_event_(std::move(on_event)) {}
  bool eventFilter(QObject*, QEvent* event) override { return on_event_(event); }

 private:
  std::function<bool(QEvent*)> on_event_;
};

// A label shows "&&" as "&" and drops the single "&" of an accelerator.
// An edit laid out at least three lines of text high is meant for several
// lines: a one-line editor would centre one line in the box and lose the
// text's line breaks.
bool is_text_area(const TCustomEdit& edit, const QWidget* parent) {
  return edit.Height() >= 3 * parent->fontMetrics().height();
}

QString without_accelerator(const UnicodeString& caption) {
  QString out;
  const QString text = qstr(caption);
  for (qsizetype i = 0; i < text.size(); ++i) {
    if (text[i] == u'&' && i + 1 < text.size()) ++i;
    out += text[i];
  }
  return out;
}

// A model bitmap as a Qt image; its bottom-left pixel's colour is
// transparent, as the glyphs of bit buttons and image lists are drawn.
// `width` > 0 takes the part of that width that starts at column `first`.
QImage to_image(const TBitmap& bitmap, int width, bool transparent_corner, int first = 0) {
  const int w = width > 0 && first + width <= bitmap.Width() ? width : bitmap.Width();
  if (w == bitmap.Width()) first = 0;
  QImage image(w, bitmap.Height(), QImage::Format_ARGB32);
  const TColor clear = transparent_corner ? bitmap.Pixel(0, bitmap.Height() - 1) : -1;
  for (int y = 0; y < bitmap.Height(); ++y)
    for (int x = 0; x < w; ++x) {
      const TColor c = bitmap.Pixel(first + x, y);
      const int r = c & 0xFF, g = (c >> 8) & 0xFF, b = (c >> 16) & 0xFF;
      image.setPixel(x, y, c == clear ? 0u : qRgba(r, g, b, 255));
    }
  return image;
}

QIcon image_list_icon(const TCustomImageList* images, int index) {
  if (images == nullptr || index < 0 || index >= images->Count()) return {};
  TBitmap bitmap;
  images->GetBitmap(index, bitmap);
  return QIcon(QPixmap::fromImage(to_image(bitmap, 0, false)));
}

QStringList item_texts(const TStrings& items) {
  QStringList out;
  for (int i = 0; i < items.Count(); ++i) out << qstr(items[i]);
  return out;
}

QStringList list_texts(const QListWidget& list) {
  QStringList out;
  for (int i = 0; i < list.count(); ++i) out << list.item(i)->text();
  return out;
}

QStringList combo_texts(const QComboBox& combo) {
  QStringList out;
  for (int i = 0; i < combo.count(); ++i) out << combo.itemText(i);
  return out;
}

// A fingerprint of a list view's rows, a tree's nodes or a menu: when it
// changes, the widget is rebuilt.
QString list_view_print(TCustomListView& view) {
  QString print;
  for (int i = 0; i < view.Items().Count(); ++i) {
    TListItem* item = view.Items().Item(i);
    print += qstr(item->Caption()) + u'\x1f' + item_texts(item->SubItems()).join(u'\x1f') + u'\x1e';
  }
  return print;
}

void tree_print(const TTreeNode& node, QString& print) {
  print += qstr(node.Text()) + u'\x1f' + QString::number(reinterpret_cast<quintptr>(&node)) + u'(';
  for (int i = 0; i < node.Count(); ++i) tree_print(*node.Item(i), print);
  print += u')';
}

void menu_print(const TMenuItem& item, QString& print) {
  print += qstr(item.Caption()) +
           QString::number(item.Enabled() * 1 + item.Visible() * 2 + item.Checked() * 4) + u'(';
  for (int i = 0; i < item.Count(); ++i) menu_print(*item.Items(i), print);
  print += u')';
}

void add_tree_node(TTreeNode& node, QTreeWidgetItem* item) {
  item->setText(0, qstr(node.Text()));
  item->setData(0, Qt::UserRole, QVariant::fromValue(reinterpret_cast<quintptr>(&node)));
  for (int i = 0; i < node.Count(); ++i) add_tree_node(*node.Item(i), new QTreeWidgetItem(item));
}

QTreeWidgetItem* find_tree_item(QTreeWidgetItem* item, const TTreeNode* node) {
  if (item->data(0, Qt::UserRole).value<quintptr>() == reinterpret_cast<quintptr>(node))
    return item;
  for (int i = 0; i < item->childCount(); ++i)
    if (QTreeWidgetItem* found = find_tree_item(item->child(i), node)) return found;
  return nullptr;
}

// What every widget shares with its control: bounds, visibility, enabled
// state and hint.
void place(const TControl& control, QWidget* widget) {
  const QRect bounds(control.Left(), control.Top(), control.Width(), control.Height());
  if (widget->geometry() != bounds) widget->setGeometry(bounds);
  if (widget->isVisibleTo(widget->parentWidget()) != control.Visible())
    widget->setVisible(control.Visible());
  if (widget->isEnabled() != control.Enabled()) widget->setEnabled(control.Enabled());
  if (widget->toolTip() != qstr(control.Hint())) widget->setToolTip(qstr(control.Hint()));
}

TButton* find_button(TWinControl& root, bool default_button) {
  for (int i = 0; i < root.ControlCount(); ++i) {
    TControl* c = root.Controls(i);
    if (auto* b = dynamic_cast<TButton*>(c);
        b && b->Visible() && b->Enabled() && (default_button ? b->Default() : b->Cancel()))
      return b;
    if (auto* w = dynamic_cast<TWinControl*>(c))
      if (TButton* inner = find_button(*w, default_button)) return inner;
  }
  return nullptr;
}

}  // namespace

xqt_mirror::xqt_mirror(TCustomForm& form, deliver_fn deliver)
    : TComponent(nullptr), form_(&form), deliver_(std::move(deliver)), window_(new QWidget()) {
  window_->setAttribute(Qt::WA_DeleteOnClose, false);
  client_ = new QWidget(window_);
  client_->setObjectName(qstr(form.Name()));
  window_->setObjectName(qstr(form.Name()));
  FreeNotification(&form);
  // The close box and the dialog keys ask the model, which decides.
  window_->installEventFilter(new event_hook(window_, [this](QEvent* event) {
    if (form_ == nullptr) return false;
    if (event->type() == QEvent::Close) {
      event->ignore();
      TCustomForm* form = form_;
      act([form] { form->Close(); });
      return true;
    }
    if (event->type() == QEvent::Resize && !syncing_ && window_->isVisible()) {
      // The user (or the window manager) resized the window: the form's
      // client area follows.
      const QSize size = static_cast<QResizeEvent*>(event)->size();
      const int width = size.width(), height = size.height() - menu_height_;
      TCustomForm* form = form_;
      if (width != form->Width() || height != form->Height())
        act([form, width, height] { form->SetBounds(form->Left(), form->Top(), width, height); });
      return false;
    }
    if (event->type() == QEvent::Move && !syncing_ && window_->isVisible()) {
      // The user (or the window manager) moved the window: the form's
      // Left and Top follow, so saved positions are where it really was.
      const QPoint at = window_->pos();
      placed_ = at;
      TCustomForm* form = form_;
      if (at.x() != form->Left() || at.y() != form->Top())
        act([form, at] { form->SetBounds(at.x(), at.y(), form->Width(), form->Height()); });
      return false;
    }
    if (event->type() == QEvent::KeyPress) {
      const int key = static_cast<QKeyEvent*>(event)->key();
      const bool enter = key == Qt::Key_Return || key == Qt::Key_Enter;
      if (!enter && key != Qt::Key_Escape) return false;
      if (TButton* b = find_button(*form_, enter)) {
        act([b] { b->Click(); });
        return true;
      }
    }
    return false;
  }));
}

xqt_mirror::~xqt_mirror() {
  if (form_ != nullptr) RemoveFreeNotification(form_);
  for (auto& [component, e] : widgets_) RemoveFreeNotification(const_cast<TComponent*>(component));
  for (auto& [component, n] : menu_items_)
    RemoveFreeNotification(const_cast<TComponent*>(component));
  for (auto& [component, bar] : tool_buttons_)
    RemoveFreeNotification(const_cast<TComponent*>(component));
  delete window_;
}

QWidget* xqt_mirror::widget_of(const TControl& control) const {
  if (&control == form_) return window_;
  auto it = widgets_.find(&control);
  return it == widgets_.end() ? nullptr : it->second.widget;
}

void xqt_mirror::Notification(TComponent* AComponent, TOperation Operation) {
  TComponent::Notification(AComponent, Operation);
  if (Operation != opRemove) return;
  // Nothing here may draw: forms are also destroyed while the process
  // exits, after Qt's own statics are gone. The window goes at the next
  // sync, a widget when the loop comes round.
  if (AComponent == form_) {
    form_ = nullptr;
    return;
  }
  if (menu_items_.erase(AComponent) > 0) {
    // Its action must not reach a destroyed item: the actions go quiet
    // now and the bar is rebuilt at the next sync.
    if (menu_bar_ != nullptr)
      for (QAction* action : menu_bar_->findChildren<QAction*>()) action->disconnect();
    menu_dirty_ = true;
  }
  if (auto button = tool_buttons_.find(AComponent); button != tool_buttons_.end()) {
    if (auto* bar = qobject_cast<QToolBar*>(button->second.data())) {
      for (QAction* action : bar->actions()) action->disconnect();
      bar->setProperty("xum_print", QString());
    }
    tool_buttons_.erase(button);
  }
  auto it = widgets_.find(AComponent);
  if (it == widgets_.end()) return;
  QWidget* widget = it->second.widget;
  widgets_.erase(it);
  if (widget != nullptr) {
    widget->disconnect();
    widget->deleteLater();
  }
}

bool xqt_mirror::key(QWidget* focus, int vk, unsigned shift, const QString& text) {
  if (form_ == nullptr || syncing_) return false;
  // The focused widget's control (a widget inside a control's widget, such
  // as a combo box's line edit, counts as that control).
  TWinControl* active = nullptr;
  for (QWidget* w = focus; w != nullptr && w != window_ && active == nullptr; w = w->parentWidget())
    for (auto& [component, e] : widgets_)
      if (e.widget == w) {
        active = dynamic_cast<TWinControl*>(const_cast<TComponent*>(component));
        break;
      }
  bool consumed = false;
  TCustomForm* form = form_;
  act([&] {
    if (active != form->ActiveControl() && (active == nullptr || form->ContainsControl(active)))
      form->SetActiveControl(active);
    focused_ = form->ActiveControl();
    if (vk != 0) consumed = form->DispatchKeyDown(static_cast<std::uint16_t>(vk), shift) == 0;
    if (!consumed && text.size() == 1 && text[0].isPrint())
      consumed = form->DispatchKeyPress(text[0].unicode()) == 0;
  });
  return consumed;
}

void xqt_mirror::act(const std::function<void()>& what) {
  if (form_ != nullptr && !syncing_) deliver_(*form_, what);
}

void xqt_mirror::sync() {
  if (form_ == nullptr) return;
  syncing_ = true;
  struct done {
    bool& flag;
    ~done() { flag = false; }
  } reset{syncing_};
  window_->setWindowTitle(qstr(form_->Caption()));
  sync_menu();
  const int menu_height =
      menu_bar_ != nullptr && !menu_bar_->isHidden() ? menu_bar_->sizeHint().height() : 0;
  menu_height_ = menu_height;
  if (menu_bar_ != nullptr) menu_bar_->setGeometry(0, 0, form_->Width(), menu_height);
  client_->setGeometry(0, menu_height, form_->Width(), form_->Height());
  if (window_->size() != QSize(form_->Width(), form_->Height() + menu_height))
    window_->resize(form_->Width(), form_->Height() + menu_height);
  // The model's place for the window, when the model moved it (a window
  // the user moved already reported its place back).
  if (const QPoint at(form_->Left(), form_->Top()); at != placed_) {
    placed_ = at;
    window_->move(at);
  }
  for (int i = 0; i < form_->ControlCount(); ++i) sync_control(*form_->Controls(i), client_);
  if (const TControl* active = form_->ActiveControl(); active != focused_) {
    focused_ = active;
    if (QWidget* w = active != nullptr ? widget_of(*active) : nullptr) w->setFocus();
  }
  const bool modal = form_->Modal();
  if (form_->Visible()) {
    if (window_->isVisible() && (window_->windowModality() == Qt::ApplicationModal) != modal)
      window_->hide();
    if (!window_->isVisible()) {
      window_->setWindowModality(modal ? Qt::ApplicationModal : Qt::NonModal);
      window_->setWindowFlag(Qt::Dialog, modal || form_->BorderStyle() == bsDialog);
      window_->show();
      window_->raise();
      window_->activateWindow();
    }
  } else if (window_->isVisible()) {
    window_->hide();
  }
}

void xqt_mirror::sync_menu() {
  QString print;
  std::vector<TMenuItem*> roots;
  for (int i = 0; i < form_->ComponentCount(); ++i)
    if (auto* item = dynamic_cast<TMenuItem*>(form_->Components(i));
        item && item->Parent() == nullptr) {
      roots.push_back(item);
      menu_print(*item, print);
    }
  if (!menu_dirty_ && print == menu_print_) return;
  menu_dirty_ = false;
  menu_print_ = print;
  if (roots.empty()) {
    if (menu_bar_ != nullptr) menu_bar_->hide();
    return;
  }
  if (menu_bar_ == nullptr) menu_bar_ = new QMenuBar(window_);
  menu_bar_->clear();
  std::function<void(TMenuItem&, QWidget*)> add = [&](TMenuItem& item, QWidget* into) {
    if (menu_items_.emplace(&item, 0).second) FreeNotification(&item);
    if (!item.Visible()) return;
    if (item.IsLine()) {
      if (auto* menu = qobject_cast<QMenu*>(into)) menu->addSeparator();
      return;
    }
    if (item.Count() > 0) {
      auto* sub = new QMenu(qstr(item.Caption()), into);
      sub->setEnabled(item.Enabled());
      sub->menuAction()->setObjectName(qstr(item.Name()));
      into->addAction(sub->menuAction());
      for (int i = 0; i < item.Count(); ++i) add(*item.Items(i), sub);
      return;
    }
    auto* action = new QAction(qstr(item.Caption()), into);
    action->setObjectName(qstr(item.Name()));
    action->setEnabled(item.Enabled());
    action->setCheckable(item.Checked());
    action->setChecked(item.Checked());
    action->setToolTip(qstr(item.Hint()));
    TMenuItem* target = &item;
    QObject::connect(action, &QAction::triggered,
                     [this, target] { act([target] { target->Click(); }); });
    into->addAction(action);
  };
  for (TMenuItem* root : roots) add(*root, menu_bar_);
  menu_bar_->show();
}

void xqt_mirror::sync_control(TControl& control, QWidget* parent) {
  auto it = widgets_.find(&control);
  if (it == widgets_.end()) {
    int kind = -1;
    QWidget* widget = nullptr;
    const auto& kinds = xqt_widget_kinds();
    const xqt_act_fn user_act = [this](const std::function<void()>& what) { act(what); };
    for (std::size_t k = 0; k < kinds.size() && widget == nullptr; ++k)
      if ((widget = kinds[k].create(control, parent, user_act)) != nullptr) {
        kind = static_cast<int>(k);
        widget->setObjectName(qstr(control.Name()));
        widget->show();
      }
    if (widget == nullptr) widget = create(control, parent);
    QWidget* client = widget;
    if (auto* area = qobject_cast<QScrollArea*>(widget)) client = area->widget();
    it = widgets_.emplace(&control, entry{widget, client, kind}).first;
    FreeNotification(&control);
  }
  QWidget* widget = it->second.widget;
  QWidget* client = it->second.client;
  const int kind = it->second.kind;
  if (kind >= 0) {
    const QSignalBlocker quiet(widget);
    place(control, widget);
    const xqt_widget_kind& k = xqt_widget_kinds()[static_cast<std::size_t>(kind)];
    if (k.update) k.update(control, widget);
    if (!k.children) return;
  } else {
    update(control, widget);
  }
  if (dynamic_cast<TToolBar*>(&control) != nullptr) return;  // its buttons are actions
  if (auto* container = dynamic_cast<TWinControl*>(&control)) {
    for (int i = 0; i < container->ControlCount(); ++i)
      sync_control(*container->Controls(i), client);
    if (auto* area = qobject_cast<QScrollArea*>(widget)) {
      // The page holds every child: the area scrolls when they overflow it.
      int right = 0, bottom = 0;
      for (int i = 0; i < container->ControlCount(); ++i) {
        const TControl* c = container->Controls(i);
        right = std::max(right, c->Left() + c->Width());
        bottom = std::max(bottom, c->Top() + c->Height());
      }
      area->widget()->resize(right, bottom);
    }
  }
}

QWidget* xqt_mirror::create(TControl& control, QWidget* parent) {
  TControl* c = &control;
  QWidget* widget = nullptr;
  if (auto* edit = dynamic_cast<TCustomEdit*>(c); edit && is_text_area(*edit, parent)) {
    // An edit laid out several lines high is a text area: its text keeps
    // its line breaks and Enter adds one.
    auto* area = new QPlainTextEdit(parent);
    QObject::connect(area, &QPlainTextEdit::textChanged, [this, edit, area] {
      act([edit, t = ustr(area->toPlainText())] { edit->SetText(t); });
    });
    widget = area;
  } else if (edit != nullptr) {
    auto* line = new QLineEdit(parent);
    QObject::connect(line, &QLineEdit::textEdited, [this, edit](const QString& text) {
      act([edit, t = ustr(text)] { edit->SetText(t); });
    });
    widget = line;
  } else if (dynamic_cast<TCustomLabel*>(c) != nullptr ||
             dynamic_cast<TStaticText*>(c) != nullptr) {
    widget = new QLabel(parent);
  } else if (dynamic_cast<TButton*>(c) != nullptr) {
    auto* button = new QPushButton(parent);
    button->setAutoDefault(false);
    QObject::connect(button, &QPushButton::clicked, [this, c] { act([c] { c->Click(); }); });
    widget = button;
  } else if (dynamic_cast<TCustomCheckBox*>(c) != nullptr) {
    auto* box = new QCheckBox(parent);
    QObject::connect(box, &QCheckBox::clicked, [this, c] { act([c] { c->Click(); }); });
    widget = box;
  } else if (dynamic_cast<TRadioButton*>(c) != nullptr) {
    auto* radio = new QRadioButton(parent);
    radio->setAutoExclusive(false);  // the model unchecks the others
    QObject::connect(radio, &QRadioButton::clicked, [this, c] { act([c] { c->Click(); }); });
    widget = radio;
  } else if (auto* group = dynamic_cast<TCustomRadioGroup*>(c)) {
    auto* box = new QGroupBox(parent);
    new QVBoxLayout(box);
    box->setProperty("xum_radio_group", true);
    (void)group;
    widget = box;
  } else if (dynamic_cast<TCustomGroupBox*>(c) != nullptr) {
    widget = new QGroupBox(parent);
  } else if (auto* list = dynamic_cast<TCustomListBox*>(c)) {
    auto* view = new QListWidget(parent);
    QObject::connect(view, &QListWidget::currentRowChanged, [this, list](int row) {
      if (row < list->ItemCount()) act([list, row] { list->SetItemIndex(row); });
    });
    if (auto* checks = dynamic_cast<TCheckListBox*>(c))
      QObject::connect(view, &QListWidget::itemChanged,
                       [this, view, checks](QListWidgetItem* item) {
                         const int row = view->row(item);
                         const bool on = item->checkState() == Qt::Checked;
                         if (row >= 0 && row < checks->ItemCount())
                           act([checks, row, on] { checks->SetChecked(row, on); });
                       });
    widget = view;
  } else if (auto* combo = dynamic_cast<TCustomComboBox*>(c)) {
    auto* box = new QComboBox(parent);
    QObject::connect(box, &QComboBox::activated, [this, combo](int index) {
      if (index < combo->ItemCount()) act([combo, index] { combo->SetItemIndex(index); });
    });
    QObject::connect(box, &QComboBox::editTextChanged, [this, combo](const QString& text) {
      act([combo, t = ustr(text)] { combo->SetText(t); });
    });
    widget = box;
  } else if (auto* lv = dynamic_cast<TCustomListView*>(c)) {
    auto* tree = new QTreeWidget(parent);
    tree->setRootIsDecorated(false);
    tree->setProperty("xum_list_view", true);
    QObject::connect(tree, &QTreeWidget::currentItemChanged,
                     [this, tree, lv](QTreeWidgetItem* item) {
                       const int row = item ? tree->indexOfTopLevelItem(item) : -1;
                       if (row < lv->ItemCount()) act([lv, row] { lv->SetItemIndex(row); });
                     });
    widget = tree;
  } else if (auto* tv = dynamic_cast<TCustomTreeView*>(c)) {
    auto* tree = new QTreeWidget(parent);
    tree->setHeaderHidden(true);
    QObject::connect(tree, &QTreeWidget::currentItemChanged, [this, tv](QTreeWidgetItem* item) {
      if (item == nullptr) return;
      auto* node = reinterpret_cast<TTreeNode*>(item->data(0, Qt::UserRole).value<quintptr>());
      act([tv, node] { tv->Select(node); });
    });
    widget = tree;
  } else if (auto* values = dynamic_cast<TValueListEditor*>(c)) {
    auto* table = new QTableWidget(parent);
    table->setColumnCount(2);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setStretchLastSection(true);
    QObject::connect(table, &QTableWidget::cellChanged, [this, table, values](int row, int column) {
      if (column != 1 || row >= values->Strings().Count()) return;
      const UnicodeString key = ustr(table->item(row, 0)->text());
      const UnicodeString value = ustr(table->item(row, 1)->text());
      act([values, key, value] { values->SetValues(key, value); });
    });
    widget = table;
  } else if (dynamic_cast<TToolBar*>(c) != nullptr) {
    auto* bar = new QToolBar(parent);
    bar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    widget = bar;
  } else if (dynamic_cast<TScrollBox*>(c) != nullptr) {
    auto* area = new QScrollArea(parent);
    area->setWidget(new QWidget());
    area->setWidgetResizable(false);
    widget = area;
  } else {
    widget = new QWidget(parent);
  }
  widget->setObjectName(qstr(control.Name()));
  widget->show();
  return widget;
}

void xqt_mirror::update(TControl& control, QWidget* widget) {
  const QSignalBlocker quiet(widget);
  place(control, widget);
  const QString caption = qstr(control.Caption());
  TControl* c = &control;

  if (auto* area = qobject_cast<QPlainTextEdit*>(widget)) {
    QString shown = caption;
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));  // as the area reports it
    if (area->toPlainText() != shown) {
      const QSignalBlocker quiet(area);  // the model already holds this text
      area->setPlainText(shown);
    }
    area->setReadOnly(static_cast<TCustomEdit*>(c)->ReadOnly());
  } else if (auto* edit = dynamic_cast<TCustomEdit*>(c)) {
    auto* line = static_cast<QLineEdit*>(widget);
    if (line->text() != caption) line->setText(caption);
    line->setReadOnly(edit->ReadOnly());
    line->setMaxLength(edit->MaxLength() > 0 ? edit->MaxLength() : 32767);
  } else if (auto* label = qobject_cast<QLabel*>(widget)) {
    if (label->text() != without_accelerator(control.Caption()))
      label->setText(without_accelerator(control.Caption()));
  } else if (auto* button = qobject_cast<QPushButton*>(widget)) {
    if (button->text() != caption) button->setText(caption);
    auto* model = static_cast<TButton*>(c);
    button->setDefault(model->Default());
    if (auto* bit = dynamic_cast<TBitBtn*>(c);
        bit && !bit->Glyph().Empty() && button->icon().isNull()) {
      const int glyph_width = bit->Glyph().Width() / bit->NumGlyphs();
      // The glyph's parts: normal, then disabled (Qt greys the normal one
      // when there is no second part).
      QIcon icon(QPixmap::fromImage(to_image(bit->Glyph(), glyph_width, true)));
      if (bit->NumGlyphs() >= 2)
        icon.addPixmap(QPixmap::fromImage(to_image(bit->Glyph(), glyph_width, true, glyph_width)),
                       QIcon::Disabled);
      button->setIcon(icon);
      button->setIconSize(QSize(glyph_width, bit->Glyph().Height()));
    }
  } else if (auto* box = qobject_cast<QCheckBox*>(widget)) {
    if (box->text() != caption) box->setText(caption);
    const TCheckBoxState state = static_cast<TCustomCheckBox*>(c)->State();
    box->setTristate(state == cbGrayed);
    box->setCheckState(state == cbChecked  ? Qt::Checked
                       : state == cbGrayed ? Qt::PartiallyChecked
                                           : Qt::Unchecked);
  } else if (auto* radio = qobject_cast<QRadioButton*>(widget)) {
    if (radio->text() != caption) radio->setText(caption);
    radio->setChecked(static_cast<TRadioButton*>(c)->Checked());
  } else if (auto* group_box = qobject_cast<QGroupBox*>(widget)) {
    if (group_box->title() != caption) group_box->setTitle(caption);
    if (auto* group = dynamic_cast<TCustomRadioGroup*>(c)) {
      QList<QRadioButton*> radios =
          group_box->findChildren<QRadioButton*>(Qt::FindDirectChildrenOnly);
      QStringList texts;
      for (QRadioButton* r : radios) texts << r->text();
      if (texts != item_texts(group->Items())) {
        qDeleteAll(radios);
        radios.clear();
        for (int i = 0; i < group->Items().Count(); ++i) {
          auto* r = new QRadioButton(qstr(group->Items()[i]), group_box);
          r->setAutoExclusive(false);
          group_box->layout()->addWidget(r);
          QObject::connect(r, &QRadioButton::clicked,
                           [this, group, i] { act([group, i] { group->SetItemIndex(i); }); });
          radios << r;
        }
      }
      for (int i = 0; i < radios.size(); ++i) {
        const QSignalBlocker q(radios[i]);
        radios[i]->setChecked(i == group->ItemIndex());
      }
    }
  } else if (auto* list = qobject_cast<QListWidget*>(widget)) {
    auto* model = static_cast<TCustomListBox*>(c);
    auto* checks = dynamic_cast<TCheckListBox*>(c);
    if (list_texts(*list) != item_texts(model->Items())) {
      list->clear();
      list->addItems(item_texts(model->Items()));
    }
    list->setSelectionMode(model->MultiSelect() ? QAbstractItemView::ExtendedSelection
                                                : QAbstractItemView::SingleSelection);
    for (int i = 0; i < list->count(); ++i) {
      QListWidgetItem* item = list->item(i);
      if (checks != nullptr) {
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(checks->Checked(i) ? Qt::Checked : Qt::Unchecked);
      }
      if (model->MultiSelect()) item->setSelected(model->Selected(i));
    }
    if (list->currentRow() != model->ItemIndex()) list->setCurrentRow(model->ItemIndex());
  } else if (auto* combo = qobject_cast<QComboBox*>(widget)) {
    auto* model = static_cast<TCustomComboBox*>(c);
    const bool editable = model->Style() != csDropDownList;
    if (combo->isEditable() != editable) combo->setEditable(editable);
    if (combo_texts(*combo) != item_texts(model->Items())) {
      combo->clear();
      combo->addItems(item_texts(model->Items()));
    }
    combo->setMaxVisibleItems(std::max(1, model->DropDownCount()));
    if (combo->currentIndex() != model->ItemIndex()) combo->setCurrentIndex(model->ItemIndex());
    if (editable && combo->currentText() != caption) combo->setEditText(caption);
  } else if (auto* tree = qobject_cast<QTreeWidget*>(widget)) {
    if (auto* lv = dynamic_cast<TCustomListView*>(c)) {
      QStringList headers;
      for (int i = 0; i < lv->Columns().Count(); ++i)
        headers << qstr(lv->Columns().Items(i)->Caption());
      if (headers.isEmpty()) headers << QString();
      if (tree->columnCount() != headers.size())
        tree->setColumnCount(static_cast<int>(headers.size()));
      tree->setHeaderLabels(headers);
      tree->setHeaderHidden(lv->Columns().Count() == 0 || lv->ViewStyle() != vsReport);
      for (int i = 0; i < lv->Columns().Count(); ++i)
        if (lv->Columns().Items(i)->Width() > 0)
          tree->setColumnWidth(i, lv->Columns().Items(i)->Width());
      const QString print = list_view_print(*lv);
      if (tree->property("xum_print").toString() != print) {
        tree->clear();
        for (int i = 0; i < lv->Items().Count(); ++i) {
          TListItem* item = lv->Items().Item(i);
          QStringList cells{qstr(item->Caption())};
          cells << item_texts(item->SubItems());
          tree->addTopLevelItem(new QTreeWidgetItem(cells));
        }
        tree->setProperty("xum_print", print);
      }
      tree->setSelectionMode(lv->MultiSelect() ? QAbstractItemView::ExtendedSelection
                                               : QAbstractItemView::SingleSelection);
      const int index = lv->ItemIndex();
      QTreeWidgetItem* current = index >= 0 ? tree->topLevelItem(index) : nullptr;
      if (tree->currentItem() != current) tree->setCurrentItem(current);
    } else if (auto* tv = dynamic_cast<TCustomTreeView*>(c)) {
      QString print;
      std::vector<TTreeNode*> roots;
      for (int i = 0; i < tv->Items().Count(); ++i)
        if (TTreeNode* node = tv->Items().Item(i); node->Parent() == nullptr) {
          roots.push_back(node);
          tree_print(*node, print);
        }
      if (tree->property("xum_print").toString() != print) {
        tree->clear();
        for (TTreeNode* node : roots) {
          auto* item = new QTreeWidgetItem(tree);
          add_tree_node(*node, item);
        }
        tree->expandAll();
        tree->setProperty("xum_print", print);
      }
      QTreeWidgetItem* current = nullptr;
      for (int i = 0; i < tree->topLevelItemCount() && current == nullptr && tv->Selected(); ++i)
        current = find_tree_item(tree->topLevelItem(i), tv->Selected());
      if (tree->currentItem() != current) tree->setCurrentItem(current);
    }
  } else if (auto* table = qobject_cast<QTableWidget*>(widget)) {
    auto* values = static_cast<TValueListEditor*>(c);
    const TStrings& lines = values->Strings();
    QStringList titles = item_texts(values->TitleCaptions());
    while (titles.size() < 2) titles << QString();
    table->setHorizontalHeaderLabels(titles.mid(0, 2));
    if (table->rowCount() != lines.Count()) table->setRowCount(lines.Count());
    for (int i = 0; i < lines.Count(); ++i) {
      const QString line = qstr(lines[i]);
      const qsizetype eq = line.indexOf(u'=');
      const QString key = eq < 0 ? line : line.left(eq),
                    value = eq < 0 ? QString() : line.mid(eq + 1);
      for (int col = 0; col < 2; ++col) {
        const QString& text = col == 0 ? key : value;
        QTableWidgetItem* cell = table->item(i, col);
        if (cell == nullptr) {
          cell = new QTableWidgetItem(text);
          if (col == 0) cell->setFlags(cell->flags() & ~Qt::ItemIsEditable);
          table->setItem(i, col, cell);
        } else if (cell->text() != text) {
          cell->setText(text);
        }
      }
    }
  } else if (auto* bar = qobject_cast<QToolBar*>(widget)) {
    auto* model = static_cast<TToolBar*>(c);
    QString print;
    for (int i = 0; i < model->ControlCount(); ++i) {
      const TControl* b = model->Controls(i);
      print += qstr(b->Caption()) + QString::number(b->Enabled() + 2 * b->Visible()) + u'\x1f';
      if (auto* tb = dynamic_cast<const TToolButton*>(b))
        print += QString::number(tb->ImageIndex());
      print += u'\x1e';
    }
    if (bar->property("xum_print").toString() != print) {
      bar->clear();
      if (model->Images() != nullptr)
        bar->setIconSize(QSize(model->Images()->Width(), model->Images()->Height()));
      for (int i = 0; i < model->ControlCount(); ++i) {
        TControl* b = model->Controls(i);
        if (!b->Visible()) continue;
        auto* tb = dynamic_cast<TToolButton*>(b);
        if (tb != nullptr && b->Caption() == u"-") {
          bar->addSeparator();
          continue;
        }
        QAction* action = bar->addAction(
            image_list_icon(model->Images(), tb ? tb->ImageIndex() : -1), qstr(b->Caption()));
        action->setEnabled(b->Enabled());
        action->setToolTip(qstr(b->Hint()));
        action->setObjectName(qstr(b->Name()));
        QObject::connect(action, &QAction::triggered, [this, b] { act([b] { b->Click(); }); });
        // Each button is watched: a destroyed one rebuilds the bar.
        if (tool_buttons_.emplace(b, bar).second) FreeNotification(b);
        if (QWidget* w = bar->widgetForAction(action)) w->setObjectName(qstr(b->Name()));
      }
      bar->setProperty("xum_print", print);
    }
  }
}

}  // namespace xum
