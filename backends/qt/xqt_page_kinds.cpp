// The page control drawn by Qt: a QTabBar along the top of a plain
// container. The model lays the tab sheets out below the tabs and shows
// only the active one, so the sheets are mirrored as ordinary containers;
// the bar shows one tab per page that has one, and a click on a tab is the
// user's SelectPage (which OnChanging may refuse: the next sync puts the
// bar back on the page that shows).
#include <QTabBar>
#include <QWidget>

#include "backends/qt/xqt_text.h"
#include "backends/qt/xqt_widget_kind.h"
#include "framework/tpage_control.h"

namespace xum {

namespace {

// The pages that have a tab, in order: the bar's tab i is tabbed[i].
std::vector<TTabSheet*> tabbed_pages(const TPageControl& pages) {
  std::vector<TTabSheet*> out;
  for (int i = 0; i < pages.PageCount(); ++i)
    if (pages.Pages(i)->TabVisible()) out.push_back(pages.Pages(i));
  return out;
}

QWidget* create_page_control(TControl& control, QWidget* parent, const xqt_act_fn& act) {
  auto* pages = dynamic_cast<TPageControl*>(&control);
  if (pages == nullptr) return nullptr;
  auto* box = new QWidget(parent);
  auto* bar = new QTabBar(box);
  bar->setObjectName(QStringLiteral("Tabs"));
  bar->setDrawBase(true);
  QObject::connect(bar, &QTabBar::tabBarClicked, [pages, act](int tab) {
    act([pages, tab] {
      const std::vector<TTabSheet*> tabbed = tabbed_pages(*pages);
      if (tab >= 0 && tab < static_cast<int>(tabbed.size()))
        pages->SelectPage(tabbed[static_cast<std::size_t>(tab)]->PageIndex());
    });
  });
  return box;
}

void update_page_control(TControl& control, QWidget* widget) {
  auto& pages = static_cast<TPageControl&>(control);
  auto* bar = widget->findChild<QTabBar*>(QStringLiteral("Tabs"), Qt::FindDirectChildrenOnly);
  const QSignalBlocker quiet(bar);
  const std::vector<TTabSheet*> tabbed = tabbed_pages(pages);
  while (bar->count() > static_cast<int>(tabbed.size())) bar->removeTab(bar->count() - 1);
  while (bar->count() < static_cast<int>(tabbed.size())) bar->addTab(QString());
  int current = -1;
  for (std::size_t i = 0; i < tabbed.size(); ++i) {
    const QString caption = qstr(tabbed[i]->Caption());
    if (bar->tabText(static_cast<int>(i)) != caption) bar->setTabText(static_cast<int>(i), caption);
    if (tabbed[i] == pages.ActivePage()) current = static_cast<int>(i);
  }
  if (current >= 0 && bar->currentIndex() != current) bar->setCurrentIndex(current);
  bar->setGeometry(0, 0, pages.Width(), pages.TabHeight());
  bar->setVisible(pages.TabHeight() > 0);
}

const bool registered = [] {
  xqt_add_widget_kind({create_page_control, update_page_control});
  return true;
}();

}  // namespace

}  // namespace xum
