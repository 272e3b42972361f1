// Delivers the framework's main loop (framework/xmain_loop.h) on Qt's event
// loop: each descriptor the main loop waits on (its wake-up pipe first, so
// posted calls and Synchronize arrive) gets a QSocketNotifier, and a
// single-shot QTimer fires when the next timer of the main loop is due.
// Whenever Qt's loop is about to wait, the pump brings the notifiers in
// line with the main loop's current watches and lets the backend
// synchronise its windows with the model.
//
// Thread safety: the main thread only.
#ifndef XUM_BACKENDS_QT_XQT_PUMP_H
#define XUM_BACKENDS_QT_XQT_PUMP_H

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <map>
#include <memory>
#include <utility>

namespace xum {

class xqt_backend;

class xqt_pump final : public QObject {
 public:
  explicit xqt_pump(xqt_backend& backend);
  ~xqt_pump() override;

  // Re-reads the main loop's descriptors and next due time.
  void refresh();

 private:
  void fire();

  xqt_backend& backend_;
  std::map<std::pair<int, int>, std::unique_ptr<QSocketNotifier>> notifiers_;  // (fd, type)
  QTimer due_;
  bool running_ = false;
};

}  // namespace xum

#endif  // XUM_BACKENDS_QT_XQT_PUMP_H
