#include "backends/qt/xqt_pump.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>

#include "backends/qt/xqt_backend.h"
#include "framework/xmain_loop.h"

namespace xum {

xqt_pump::xqt_pump(xqt_backend& backend) : backend_(backend) {
  due_.setSingleShot(true);
  QObject::connect(&due_, &QTimer::timeout, this, [this] { fire(); });
  QAbstractEventDispatcher* dispatcher =
      QAbstractEventDispatcher::instance(QCoreApplication::instance()->thread());
  QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, [this] {
    backend_.sync();
    refresh();
  });
}

xqt_pump::~xqt_pump() = default;

void xqt_pump::fire() {
  if (running_) return;
  running_ = true;
  backend_.run_loop_work();
  running_ = false;
  refresh();
}

void xqt_pump::refresh() {
  xmain_loop& loop = xmain_loop::instance();
  std::map<std::pair<int, int>, std::unique_ptr<QSocketNotifier>> kept;
  for (const auto& [fd, events] : loop.descriptors()) {
    for (const QSocketNotifier::Type type : {QSocketNotifier::Read, QSocketNotifier::Write}) {
      const bool wanted = type == QSocketNotifier::Read
                              ? (events & (xmain_loop::watch_in | xmain_loop::watch_hangup |
                                           xmain_loop::watch_error)) != 0
                              : (events & xmain_loop::watch_out) != 0;
      if (!wanted) continue;
      const std::pair<int, int> key{fd, static_cast<int>(type)};
      if (auto it = notifiers_.find(key); it != notifiers_.end()) {
        kept.emplace(key, std::move(it->second));
        notifiers_.erase(it);
        continue;
      }
      auto notifier = std::make_unique<QSocketNotifier>(static_cast<qintptr>(fd), type);
      QObject::connect(notifier.get(), &QSocketNotifier::activated, this, [this] { fire(); });
      kept.emplace(key, std::move(notifier));
    }
  }
  notifiers_ = std::move(kept);
  const int wait = loop.next_wait_ms();
  if (wait < 0)
    due_.stop();
  else if (!due_.isActive() || due_.remainingTime() > wait)
    due_.start(wait);
}

}  // namespace xum
