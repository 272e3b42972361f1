// Widget kinds of the library's panels and pickers (backends/qt/
// xqt_widget_kind.h):
//
//   TLayoutPanel          the mirror's plain container (the model places the
//                         children), so no kind of its own
//   TSeparator            painted: an etched line with its caption on it, at
//                         the places TSeparator::Geometry gives
//   TMinimizableGroupBox  a QGroupBox with a small arrow button "MinimizeBtn"
//                         at the model's ButtonRect; clicking it toggles
//   TColorSelector        painted: the caption, a swatch with the colour's
//                         name and a drop arrow; its drop-down is a QMenu
//                         "ColorMenu" of swatches and "Other..."
//   TDatePicker           a line edit "DateEdit" and a drop button "DropBtn";
//                         its drop-down is a popup "CalendarPopup" with the
//                         catalogue's month title and day names over a
//                         QCalendarWidget "Calendar"
//
// The widgets keep copies of what they draw, never the control: a widget
// whose control is destroyed may still be painted before it goes. Each
// user act goes to the model through `act`; the model decides, and the next
// update shows the result (a drop-down opens or closes when the model's
// DroppedDown says so).
#include <algorithm>
#include <functional>
#include <vector>

#include <QAction>
#include <QCalendarWidget>
#include <QDate>
#include <QFrame>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QSignalBlocker>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWidget>

#include "backends/qt/xqt_text.h"
#include "backends/qt/xqt_widget_kind.h"
#include "ui/tcolor_selector.h"
#include "ui/tdate_picker.h"
#include "ui/tlayout_panel.h"
#include "ui/tminimizable_group_box.h"

namespace xum {

namespace {

// A control as its widget's acts reach it: null once the control is
// destroyed, so an act that comes before the widget goes touches nothing.
template <class T>
class model_link final : public TComponent {
 public:
  explicit model_link(T& target) : TComponent(nullptr), target_(&target) { FreeNotification(&target); }
  ~model_link() override {
    if (target_ != nullptr) RemoveFreeNotification(target_);
  }
  T* get() const noexcept { return target_; }
  void Notification(TComponent* c, TOperation operation) override {
    TComponent::Notification(c, operation);
    if (operation == opRemove && c == target_) target_ = nullptr;
  }

 private:
  T* target_;
};

// Runs `what` on the linked control as a user act, if it still exists.
template <class T, class F>
void act_on(const xqt_act_fn& act, const model_link<T>* link, F what) {
  act([link, what] {
    if (T* m = link->get()) what(*m);
  });
}

QColor qt_color(TColor c) { return QColor(c & 0xFF, (c >> 8) & 0xFF, (c >> 16) & 0xFF); }

QRect qt_rect(const TLayoutRect& r) { return QRect(r.Left, r.Top, r.Width, r.Height); }

QIcon swatch(TColor c, int side) {
  QPixmap pixmap(side, side);
  pixmap.fill(qt_color(c));
  QPainter p(&pixmap);
  p.setPen(Qt::darkGray);
  p.drawRect(0, 0, side - 1, side - 1);
  return QIcon(pixmap);
}

// --- separator ---------------------------------------------------------------

class separator_widget final : public QWidget {
 public:
  using QWidget::QWidget;

  void show_model(const TSeparator& s) {
    ensurePolished();  // measured in the font it is painted in
    const QFontMetrics metrics(font());
    caption_ = qstr(s.Caption());
    const TSeparator::TGeometry g =
        s.Geometry(caption_.isEmpty() ? 0 : metrics.horizontalAdvance(caption_), metrics.height());
    std::vector<QRect> lines;
    for (const TLayoutRect& r : g.Lines) lines.push_back(qt_rect(r));
    // Repainting at every sync would wake the loop that syncs: only a
    // change is drawn.
    if (lines == lines_ && qt_rect(g.CaptionRect) == caption_rect_ && accessibleName() == caption_)
      return;
    lines_ = std::move(lines);
    caption_rect_ = qt_rect(g.CaptionRect);
    setAccessibleName(caption_);
    update();
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter p(this);
    for (const QRect& r : lines_) {
      // Etched: the dark half above (left of) the light half.
      const bool across = r.width() >= r.height();
      const QRect dark = across ? QRect(r.left(), r.top(), r.width(), r.height() / 2)
                                : QRect(r.left(), r.top(), r.width() / 2, r.height());
      p.fillRect(dark, palette().color(QPalette::Mid));
      p.fillRect(across ? dark.translated(0, dark.height()) : dark.translated(dark.width(), 0),
                 palette().color(QPalette::Light));
    }
    if (!caption_.isEmpty()) {
      p.setPen(palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled,
                               QPalette::WindowText));
      // The measured advance rounds; only a caption really wider than its
      // room is shortened.
      const bool fits = fontMetrics().horizontalAdvance(caption_) <= caption_rect_.width();
      p.drawText(caption_rect_, Qt::AlignCenter | Qt::TextSingleLine | Qt::TextDontClip,
                 fits ? caption_
                      : fontMetrics().elidedText(caption_, Qt::ElideRight, caption_rect_.width()));
    }
  }

 private:
  std::vector<QRect> lines_;
  QRect caption_rect_;
  QString caption_;
};

// --- minimizable group box ---------------------------------------------------

class group_box_widget final : public QGroupBox {
 public:
  group_box_widget(TMinimizableGroupBox& box, const xqt_act_fn& act, QWidget* parent)
      : QGroupBox(parent), link_(box) {
    auto* button = new QToolButton(this);
    button->setObjectName(QStringLiteral("MinimizeBtn"));
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::NoFocus);
    QObject::connect(button, &QToolButton::clicked, [this, act] {
      act_on(act, &link_, [](TMinimizableGroupBox& m) { m.Toggle(); });
    });
  }

 private:
  model_link<TMinimizableGroupBox> link_;
};

void update_group_box(TMinimizableGroupBox& box, QGroupBox* widget) {
  if (widget->title() != qstr(box.Caption())) widget->setTitle(qstr(box.Caption()));
  auto* button = widget->findChild<QToolButton*>(QStringLiteral("MinimizeBtn"),
                                                 Qt::FindDirectChildrenOnly);
  const QSignalBlocker quiet(button);
  button->setGeometry(qt_rect(box.ButtonRect()));
  button->setArrowType(box.Minimized() ? Qt::DownArrow : Qt::UpArrow);
  if (widget->children().constLast() != button) button->raise();  // over children added later
  widget->setProperty("xum_minimized", box.Minimized());
}

// --- colour selector ---------------------------------------------------------

class color_selector_widget final : public QWidget {
 public:
  color_selector_widget(TColorSelector& model, const xqt_act_fn& act, QWidget* parent)
      : QWidget(parent), menu_(new QMenu(this)), act_(act), link_(model) {
    setFocusPolicy(Qt::StrongFocus);
    menu_->setObjectName(QStringLiteral("ColorMenu"));
    // A click outside closes the drop-down and is not replayed on the
    // selector, which would open it again.
    menu_->setAttribute(Qt::WA_NoMouseReplay);
    QObject::connect(menu_, &QMenu::aboutToHide, [this] {
      if (!updating_) act_on(act_, &link_, [](TColorSelector& m) { m.SetDroppedDown(false); });
    });
    QObject::connect(menu_, &QMenu::hovered, [this](QAction* a) {
      const int index = items().indexOf(a);
      if (!updating_ && index >= 0)
        act_on(act_, &link_, [index](TColorSelector& m) {
          if (m.DroppedDown() && index < m.ItemCount()) m.SetHotIndex(index);
        });
    });
  }

  void show_model(const TColorSelector& s) {
    updating_ = true;
    const QString caption = qstr(s.Caption()), name = qstr(s.ColorText());
    // Only a change is repainted (a repaint wakes the loop that syncs).
    const bool changed = caption != caption_ || name != name_ || s.Color() != color_ ||
                         s.DroppedDown() != open_;
    caption_ = caption;
    color_ = s.Color();
    name_ = name;
    open_ = s.DroppedDown();
    setAccessibleName(caption_ + u' ' + name_);
    // The menu follows the palette.
    QString print = qstr(s.OtherCaption());
    for (const TColorEntry& e : s.Palette()) print += qstr(e.Name) + QString::number(e.Color);
    if (menu_->property("xum_print").toString() != print) {
      menu_->clear();
      const int side = fontMetrics().height();
      for (std::size_t i = 0; i < s.Palette().size(); ++i) {
        const TColorEntry& e = s.Palette()[i];
        QAction* a = menu_->addAction(swatch(e.Color, side), qstr(e.Name));
        add_pick(a, static_cast<int>(i));
      }
      menu_->addSeparator();
      add_pick(menu_->addAction(qstr(s.OtherCaption())), static_cast<int>(s.Palette().size()));
      menu_->setProperty("xum_print", print);
    }
    const QList<QAction*> items = this->items();
    for (int i = 0; i < items.size(); ++i) {
      items[i]->setCheckable(i < static_cast<int>(s.Palette().size()));
      items[i]->setChecked(i == s.ItemIndex());
    }
    if (s.DroppedDown()) {
      if (!menu_->isVisible()) menu_->popup(mapToGlobal(QPoint(swatch_left(), height())));
      if (s.HotIndex() < items.size()) menu_->setActiveAction(items[s.HotIndex()]);
    } else if (menu_->isVisible()) {
      menu_->hide();
    }
    updating_ = false;
    if (changed) update();
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter p(this);
    const int left = swatch_left();
    if (!caption_.isEmpty()) {
      p.setPen(palette().color(QPalette::WindowText));
      p.drawText(QRect(0, 0, left - 4, height()), Qt::AlignVCenter | Qt::AlignLeft, caption_);
    }
    // The button: a combo box's frame and arrow, a swatch and the name.
    QStyleOptionComboBox box;
    box.initFrom(this);
    box.rect = QRect(left, 0, width() - left, height());
    box.editable = false;
    box.frame = true;
    if (open_) box.state |= QStyle::State_On;
    style()->drawComplexControl(QStyle::CC_ComboBox, &box, &p, this);
    const QRect field = style()->subControlRect(QStyle::CC_ComboBox, &box,
                                                QStyle::SC_ComboBoxEditField, this);
    const int side = std::max(4, field.height() - 6);
    const QRect well(field.left() + 2, field.top() + (field.height() - side) / 2, side * 2, side);
    p.fillRect(well, isEnabled() ? qt_color(color_) : palette().color(QPalette::Mid));
    p.setPen(palette().color(QPalette::Shadow));
    p.drawRect(well.adjusted(0, 0, -1, -1));
    p.setPen(palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText));
    p.drawText(field.adjusted(well.width() + 8, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft, name_);
  }

  void mousePressEvent(QMouseEvent* e) override {
    if (e->button() != Qt::LeftButton) return;
    const int x = static_cast<int>(e->position().x()), y = static_cast<int>(e->position().y());
    act_on(act_, &link_, [x, y](TColorSelector& m) { m.MouseDown(mbLeft, 0, x, y); });
  }

 private:
  int swatch_left() const {
    return caption_.isEmpty() ? 0 : std::min(width() / 2, fontMetrics().horizontalAdvance(caption_) + 8);
  }
  // The menu's items without its separator: item i is the model's item i.
  QList<QAction*> items() const {
    QList<QAction*> out;
    for (QAction* a : menu_->actions())
      if (!a->isSeparator()) out << a;
    return out;
  }
  void add_pick(QAction* a, int index) {
    QObject::connect(a, &QAction::triggered, [this, index] {
      act_on(act_, &link_, [index](TColorSelector& m) {
        if (index < m.ItemCount()) m.Pick(index);
      });
    });
  }

  QMenu* menu_;
  xqt_act_fn act_;
  model_link<TColorSelector> link_;
  QString caption_;
  QString name_;
  TColor color_ = 0;
  bool open_ = false;
  bool updating_ = false;
};

// --- date picker -------------------------------------------------------------

QDate qt_date(xdate d) { return QDate(d.year, d.month, d.day); }
xdate model_date(QDate d) {
  return xdate(static_cast<short>(d.year()), static_cast<unsigned char>(d.month()),
               static_cast<unsigned char>(d.day()));
}

class date_picker_widget final : public QWidget {
 public:
  date_picker_widget(TDatePicker& model, const xqt_act_fn& act, QWidget* parent)
      : QWidget(parent),
        edit_(new QLineEdit(this)),
        drop_(new QToolButton(this)),
        popup_(new QFrame(this, Qt::Popup)),
        title_(new QLabel(popup_)),
        calendar_(new QCalendarWidget(popup_)),
        link_(model) {
    edit_->setObjectName(QStringLiteral("DateEdit"));
    drop_->setObjectName(QStringLiteral("DropBtn"));
    drop_->setArrowType(Qt::DownArrow);
    drop_->setFocusPolicy(Qt::NoFocus);
    popup_->setObjectName(QStringLiteral("CalendarPopup"));
    popup_->setFrameShape(QFrame::StyledPanel);
    // A click outside closes the calendar and is not replayed: on the drop
    // button it would open it again.
    popup_->setAttribute(Qt::WA_NoMouseReplay);
    title_->setObjectName(QStringLiteral("MonthTitle"));
    title_->setAlignment(Qt::AlignCenter);
    calendar_->setObjectName(QStringLiteral("Calendar"));
    calendar_->setNavigationBarVisible(false);
    calendar_->setHorizontalHeaderFormat(QCalendarWidget::NoHorizontalHeader);
    calendar_->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    calendar_->setFirstDayOfWeek(Qt::Monday);

    auto* layout = new QVBoxLayout(popup_);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->setSpacing(2);
    auto* nav = new QHBoxLayout();
    auto* back = new QToolButton(popup_);
    back->setObjectName(QStringLiteral("PrevMonthBtn"));
    back->setArrowType(Qt::LeftArrow);
    auto* forward = new QToolButton(popup_);
    forward->setObjectName(QStringLiteral("NextMonthBtn"));
    forward->setArrowType(Qt::RightArrow);
    nav->addWidget(back);
    nav->addWidget(title_, 1);
    nav->addWidget(forward);
    layout->addLayout(nav);
    auto* days = new QHBoxLayout();
    days->setSpacing(0);
    for (int i = 0; i < 7; ++i) {
      auto* day = new QLabel(popup_);
      day->setObjectName(QStringLiteral("Day%1").arg(i));
      day->setAlignment(Qt::AlignCenter);
      days->addWidget(day, 1);
      day_labels_.push_back(day);
    }
    layout->addLayout(days);
    layout->addWidget(calendar_);

    QObject::connect(edit_, &QLineEdit::editingFinished, [this, act] {
      if (updating_) return;
      const UnicodeString typed = ustr(edit_->text());
      forced_ = true;  // a refused text is replaced by the date again
      act_on(act, &link_, [typed](TDatePicker& m) { m.EnterText(typed); });
    });
    QObject::connect(drop_, &QToolButton::clicked, [this, act] {
      act_on(act, &link_, [](TDatePicker& m) { m.SetDroppedDown(!m.DroppedDown()); });
    });
    QObject::connect(back, &QToolButton::clicked, [this, act] {
      act_on(act, &link_, [](TDatePicker& m) { m.ShowMonth(m.CalendarYear(), m.CalendarMonth() - 1); });
    });
    QObject::connect(forward, &QToolButton::clicked, [this, act] {
      act_on(act, &link_, [](TDatePicker& m) { m.ShowMonth(m.CalendarYear(), m.CalendarMonth() + 1); });
    });
    const auto pick = [this, act](QDate d) {
      if (updating_) return;
      const xdate picked = model_date(d);
      act_on(act, &link_, [picked](TDatePicker& m) { m.PickDate(picked); });
    };
    QObject::connect(calendar_, &QCalendarWidget::clicked, pick);
    QObject::connect(calendar_, &QCalendarWidget::activated, pick);
    QObject::connect(calendar_, &QCalendarWidget::selectionChanged, [this, act] {
      if (updating_) return;
      const xdate cursor = model_date(calendar_->selectedDate());
      act_on(act, &link_, [cursor](TDatePicker& m) {
        if (m.DroppedDown()) m.SetCalendarCursor(cursor);
      });
    });
    QObject::connect(calendar_, &QCalendarWidget::currentPageChanged, [this, act](int y, int mo) {
      if (!updating_) act_on(act, &link_, [y, mo](TDatePicker& m) { m.ShowMonth(y, mo); });
    });
    close_ = [this, act] {
      if (!updating_) act_on(act, &link_, [](TDatePicker& m) { m.SetDroppedDown(false); });
    };
    calendar_->installEventFilter(this);
    popup_->installEventFilter(this);
  }

  void show_model(const TDatePicker& d) {
    updating_ = true;
    const QString text = qstr(d.Text());
    if (forced_ || text != shown_text_) {
      edit_->setText(text);
      shown_text_ = text;
      forced_ = false;
    }
    const int button = std::min(width() / 2, height());
    edit_->setGeometry(0, 0, width() - button, height());
    drop_->setGeometry(width() - button, 0, button, height());
    title_->setText(qstr(d.MonthTitle()));
    for (int i = 0; i < 7; ++i) day_labels_[static_cast<std::size_t>(i)]->setText(qstr(TDatePicker::DayCaption(i)));
    const xdates_interval& range = d.Range();
    {
      // Each call only on a change: a repaint at every sync would wake the
      // loop that syncs.
      const QSignalBlocker quiet(calendar_);
      const QDate first = range.from.is_set() ? qt_date(range.from) : QDate(1, 1, 1);
      const QDate last = range.to.is_set() ? qt_date(range.to) : QDate(2999, 12, 31);
      if (calendar_->minimumDate() != first || calendar_->maximumDate() != last)
        calendar_->setDateRange(first, last);
      if (calendar_->selectedDate() != qt_date(d.CalendarCursor()))
        calendar_->setSelectedDate(qt_date(d.CalendarCursor()));
      if (calendar_->yearShown() != d.CalendarYear() || calendar_->monthShown() != d.CalendarMonth())
        calendar_->setCurrentPage(d.CalendarYear(), d.CalendarMonth());
    }
    if (d.DroppedDown() && !popup_->isVisible()) {
      popup_->adjustSize();
      popup_->move(mapToGlobal(QPoint(0, height())));
      popup_->show();
      calendar_->setFocus();
    } else if (!d.DroppedDown() && popup_->isVisible()) {
      popup_->hide();
    }
    updating_ = false;
  }

 protected:
  // The popup closed by a click outside, or Escape in the calendar: the
  // model's drop-down closes.
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (watched == popup_ && event->type() == QEvent::Hide) close_();
    if (watched == calendar_ && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
      close_();
      return true;
    }
    return false;
  }

 private:
  QLineEdit* edit_;
  QToolButton* drop_;
  QFrame* popup_;
  QLabel* title_;
  QCalendarWidget* calendar_;
  std::vector<QLabel*> day_labels_;
  model_link<TDatePicker> link_;
  std::function<void()> close_;
  QString shown_text_;
  bool forced_ = true;
  bool updating_ = false;
};

const bool registered = [] {
  xqt_add_widget_kind({[](TControl& c, QWidget* parent, const xqt_act_fn&) -> QWidget* {
                         if (dynamic_cast<TSeparator*>(&c) == nullptr) return nullptr;
                         return new separator_widget(parent);
                       },
                       [](TControl& c, QWidget* w) {
                         static_cast<separator_widget*>(w)->show_model(static_cast<TSeparator&>(c));
                       }});
  xqt_add_widget_kind(
      {[](TControl& c, QWidget* parent, const xqt_act_fn& act) -> QWidget* {
         auto* box = dynamic_cast<TMinimizableGroupBox*>(&c);
         return box == nullptr ? nullptr : new group_box_widget(*box, act, parent);
       },
       [](TControl& c, QWidget* w) {
         update_group_box(static_cast<TMinimizableGroupBox&>(c), static_cast<QGroupBox*>(w));
       }});
  xqt_add_widget_kind({[](TControl& c, QWidget* parent, const xqt_act_fn& act) -> QWidget* {
                         auto* s = dynamic_cast<TColorSelector*>(&c);
                         return s == nullptr ? nullptr : new color_selector_widget(*s, act, parent);
                       },
                       [](TControl& c, QWidget* w) {
                         static_cast<color_selector_widget*>(w)->show_model(
                             static_cast<TColorSelector&>(c));
                       },
                       false});
  xqt_add_widget_kind({[](TControl& c, QWidget* parent, const xqt_act_fn& act) -> QWidget* {
                         auto* d = dynamic_cast<TDatePicker*>(&c);
                         return d == nullptr ? nullptr : new date_picker_widget(*d, act, parent);
                       },
                       [](TControl& c, QWidget* w) {
                         static_cast<date_picker_widget*>(w)->show_model(static_cast<TDatePicker&>(c));
                       },
                       false});
  return true;
}();

}  // namespace

}  // namespace xum
