// The shell controls drawn by Qt.
//
// The folder tree is a QTreeView over Qt's file-system model
// (QFileSystemModel): Qt lists and watches the folders itself, loads them
// as they are opened and shows the system's folder icons. The model stays
// the one source of truth for Root, Path and the kinds shown: they are
// handed to Qt's model at each sync, and a folder the user picks goes to
// the model through Navigate (which never throws), moving the linked
// controls. Names that are not UTF-8 are Qt's to show there.
//
// The folder list shows the model's own rows (its order, its translated
// column captions, its reason for an unreadable folder) in a QTreeWidget,
// with the file-system icons of Qt's icon provider; a click on a header
// sorts through ColumnClick, a double click or Enter opens a folder. The
// path combo is a TCustomComboBox, which the stock mapping already draws.
#include <QAbstractItemView>
#include <QFileIconProvider>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QTreeView>
#include <QTreeWidget>
#include <memory>

#include "backends/qt/xqt_text.h"
#include "backends/qt/xqt_widget_kind.h"
#include "ui/tshell_controls.h"

namespace xum {
namespace {

// Whether a control still exists, for signals that outlive the mirror's
// disconnect of the widget (those of the view's selection model, header and
// Qt's file-system model, which may fire before the widget is deleted).
class control_watch final : public TComponent {
 public:
  explicit control_watch(TComponent& control) : TComponent(nullptr), control_(&control) {
    FreeNotification(&control);
  }
  ~control_watch() override {
    if (control_ != nullptr) RemoveFreeNotification(control_);
  }
  void Notification(TComponent* AComponent, TOperation Operation) override {
    TComponent::Notification(AComponent, Operation);
    if (Operation == opRemove && AComponent == control_) {
      control_ = nullptr;
      *alive = false;
    }
  }
  std::shared_ptr<bool> alive = std::make_shared<bool>(true);

 private:
  TComponent* control_;
};

// A flag that turns false when `control` goes; kept while `owner` lives.
std::shared_ptr<bool> watch(TComponent& control, QObject* owner) {
  auto* w = new control_watch(control);
  QObject::connect(owner, &QObject::destroyed, [w] { delete w; });
  return w->alive;
}

// The tree's root is shown as its one top node: the view's root is the
// root's parent, whose other children are hidden as Qt lists them.
void hide_siblings(QTreeView* view, QFileSystemModel* model, const QModelIndex& parent) {
  const QString root = view->property("xum_root").toString();
  for (int r = 0; r < model->rowCount(parent); ++r)
    view->setRowHidden(r, parent, model->filePath(model->index(r, 0, parent)) != root);
}

QWidget* create_tree(TShellTreeView& tree, QWidget* parent, const xqt_act_fn& act) {
  auto* view = new QTreeView(parent);
  auto* model = new QFileSystemModel(view);
  model->setReadOnly(true);
  view->setModel(model);
  view->setHeaderHidden(true);
  for (int c = 1; c < model->columnCount(); ++c) view->hideColumn(c);
  view->setSortingEnabled(true);
  view->sortByColumn(0, Qt::AscendingOrder);
  QObject::connect(model, &QAbstractItemModel::rowsInserted, view,
                   [view, model](const QModelIndex& parent_index, int, int) {
                     if (parent_index == view->rootIndex()) hide_siblings(view, model, parent_index);
                   });
  const std::shared_ptr<bool> alive = watch(tree, view);
  TShellTreeView* t = &tree;
  QObject::connect(view->selectionModel(), &QItemSelectionModel::currentChanged, view,
                   [t, alive, model, act](const QModelIndex& current) {
                     if (!*alive || !current.isValid()) return;
                     const UnicodeString path = ustr(model->filePath(current));
                     act([t, alive, path] {
                       if (*alive && path != t->Path()) t->Navigate(path);
                     });
                   });
  return view;
}

void update_tree(TShellTreeView& tree, QTreeView* view) {
  auto* model = static_cast<QFileSystemModel*>(view->model());
  const QString root = qstr(tree.Root());
  const bool hidden = (tree.ObjectTypes() & otHidden) != 0;
  const QDir::Filters filters =
      QDir::AllDirs | QDir::NoDotAndDotDot | (hidden ? QDir::Hidden : QDir::Filters());
  if (model->filter() != filters) model->setFilter(filters);
  if (view->property("xum_root").toString() != root) {
    view->setProperty("xum_root", root);
    model->setRootPath(root);
    const QModelIndex top = model->index(root).parent();
    view->setRootIndex(top);
    hide_siblings(view, model, top);
    view->setProperty("xum_path", QString());
  }
  const QString path = qstr(tree.Path());
  if (view->property("xum_path").toString() != path) {
    view->setProperty("xum_path", path);
    const QModelIndex at = model->index(path);
    for (QModelIndex p = at; p.isValid(); p = p.parent()) view->expand(p);
    view->setCurrentIndex(at);
    view->scrollTo(at);
  }
}

QString list_print(const TShellListView& list) {
  QString print;
  for (int i = 0; i < list.Items().Count(); ++i) {
    const TListItem* item = list.Items().Item(i);
    print += qstr(item->Caption()) + u'\x1f';
    for (int s = 0; s < const_cast<TListItem*>(item)->SubItems().Count(); ++s)
      print += qstr(const_cast<TListItem*>(item)->SubItems()[s]) + u'\x1f';
    print += u'\x1e';
  }
  return print;
}

QWidget* create_list(TShellListView& list, QWidget* parent, const xqt_act_fn& act) {
  auto* view = new QTreeWidget(parent);
  view->setRootIsDecorated(false);
  view->setProperty("xum_list_view", true);
  view->header()->setSortIndicatorShown(true);
  view->header()->setSectionsClickable(true);
  auto* reason = new QLabel(view->viewport());
  reason->setObjectName(QStringLiteral("reason"));
  reason->setAlignment(Qt::AlignCenter);
  reason->setWordWrap(true);
  reason->hide();
  TShellListView* l = &list;
  const std::shared_ptr<bool> alive = watch(list, view);
  QObject::connect(view->header(), &QHeaderView::sectionClicked, view, [l, alive, act](int column) {
    if (*alive) act([l, alive, column] { l->ColumnClick(column); });
  });
  QObject::connect(view, &QTreeWidget::currentItemChanged, view,
                   [l, view, act](QTreeWidgetItem* item) {
                     const int row = item ? view->indexOfTopLevelItem(item) : -1;
                     act([l, row] {
                       if (row < l->ItemCount()) l->SetItemIndex(row);
                     });
                   });
  QObject::connect(view, &QTreeWidget::itemActivated, view,
                   [l, view, act](QTreeWidgetItem* item) {
                     const int row = view->indexOfTopLevelItem(item);
                     act([l, row] { l->Open(row); });
                   });
  return view;
}

void update_list(TShellListView& list, QTreeWidget* view) {
  QStringList headers;
  for (int i = 0; i < list.Columns().Count(); ++i) headers << qstr(list.Columns().Items(i)->Caption());
  if (view->columnCount() != headers.size()) view->setColumnCount(static_cast<int>(headers.size()));
  view->setHeaderLabels(headers);
  for (int i = 0; i < list.Columns().Count(); ++i)
    if (view->property("xum_widths").toBool() == false)
      view->setColumnWidth(i, list.Columns().Items(i)->Width());
  view->setProperty("xum_widths", true);  // then the user's to change
  view->header()->setSortIndicator(
      list.SortColumn(), list.SortAscending() ? Qt::AscendingOrder : Qt::DescendingOrder);
  const QString print = list_print(list);
  if (view->property("xum_print").toString() != print) {
    view->clear();
    static QFileIconProvider icons;
    for (int i = 0; i < list.Items().Count(); ++i) {
      TListItem* item = list.Items().Item(i);
      QStringList cells{qstr(item->Caption())};
      for (int s = 0; s < item->SubItems().Count(); ++s) cells << qstr(item->SubItems()[s]);
      auto* row = new QTreeWidgetItem(cells);
      row->setIcon(0, icons.icon(list.Entries(i).Folder ? QFileIconProvider::Folder
                                                         : QFileIconProvider::File));
      row->setTextAlignment(TShellListView::colSize, Qt::AlignRight | Qt::AlignVCenter);
      view->addTopLevelItem(row);
    }
    view->setProperty("xum_print", print);
  }
  const int index = list.ItemIndex();
  QTreeWidgetItem* current = index >= 0 ? view->topLevelItem(index) : nullptr;
  if (view->currentItem() != current) view->setCurrentItem(current);
  auto* reason = view->viewport()->findChild<QLabel*>(QStringLiteral("reason"));
  reason->setText(qstr(list.Reason()));
  reason->setGeometry(view->viewport()->rect());
  reason->setVisible(!list.Reason().empty());
}

const bool registered = [] {
  xqt_add_widget_kind({[](TControl& c, QWidget* parent, const xqt_act_fn& act) -> QWidget* {
                         if (auto* tree = dynamic_cast<TShellTreeView*>(&c))
                           return create_tree(*tree, parent, act);
                         if (auto* list = dynamic_cast<TShellListView*>(&c))
                           return create_list(*list, parent, act);
                         return nullptr;
                       },
                       [](TControl& c, QWidget* widget) {
                         if (auto* tree = dynamic_cast<TShellTreeView*>(&c))
                           update_tree(*tree, static_cast<QTreeView*>(widget));
                         else
                           update_list(static_cast<TShellListView&>(c),
                                       static_cast<QTreeWidget*>(widget));
                       },
                       false});
  return true;
}();

}  // namespace
}  // namespace xum
