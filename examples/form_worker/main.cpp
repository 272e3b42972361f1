// A form with a worker thread: the worker counts primes and reports its
// progress to the form through Synchronize while the form is shown modally.
// The headless backend plays the user: it waits for the count and presses
// OK, or presses Cancel at once with --cancel, which stops the worker.
//
//   form_worker [--cancel] [LIMIT]
#include <atomic>
#include <iostream>
#include <string>
#include <string_view>
#include <thread>
#include <xum/framework/tapplication.h>
#include <xum/framework/tforms.h>
#include <xum/framework/tstdctrls.h>
#include <xum/framework/tthread.h>
#include <xum/framework/xmain_loop.h>
#include <xum/framework/xui_backend.h>

int main(int argc, char** argv) {
  const bool cancel = argc > 1 && std::string_view(argv[1]) == "--cancel";
  const int limit = argc > 1 + cancel ? std::stoi(argv[1 + cancel]) : 200000;
  xum::xmain_loop::instance().bind_to_current_thread();  // this thread runs the user interface
  const auto main_thread = std::this_thread::get_id();

  auto* form = new xum::TForm(xum::Application());  // the application destroys it at exit
  form->SetName(u"PrimesForm");
  form->SetCaption(u"Counting primes");
  auto* status = new xum::TLabel(form);
  status->SetParent(form);
  auto* ok = new xum::TButton(form);
  ok->SetParent(form);
  ok->SetName(u"OkBtn");
  ok->SetModalResult(xum::mrOk);
  ok->SetEnabled(false);
  auto* stop = new xum::TButton(form);
  stop->SetParent(form);
  stop->SetName(u"CancelBtn");
  stop->SetModalResult(xum::mrCancel);

  std::atomic<int> found{0};
  int updates = 0, off_main = 0;
  bool done = false;
  xum::TThread worker([&](xum::TThread& self) {
    for (int n = 2; n < limit && !self.Terminated(); ++n) {
      bool prime = true;
      for (int d = 2; d * d <= n && prime; ++d) prime = n % d != 0;
      if (prime) ++found;
      if (n % 20000 == 0)  // progress, shown by the main thread
        self.Synchronize([&] {
          off_main += std::this_thread::get_id() != main_thread;
          ++updates;
          status->SetCaption(
              xum::ToUnicode(std::to_string(found) + " primes below " + std::to_string(n)));
        });
    }
  });
  worker.OnTerminate = [&](xum::TObject*) {  // on the main thread, when the body has returned
    done = true;
    ok->SetEnabled(true);
  };
  // OK closes the form only once the count is complete; Cancel always does.
  form->OnCloseQuery = [&](xum::TObject*, bool& can_close) {
    can_close = form->ModalResult() != xum::mrOk || done;
  };

  // The user, played by the headless backend: wait (the main loop runs the
  // worker's Synchronize calls meanwhile) and press OK, or cancel at once.
  xum::xheadless_ui().set_form_rule([&](xum::TCustomForm& f) {
    if (!cancel)
      while (!done) xum::Application()->HandleMessage();
    xum::xpress_button(f, cancel ? u"CancelBtn" : u"OkBtn");
    return xum::mrNone;
  });

  worker.Start();
  const int result = form->ShowModal();
  worker.Stop();  // Terminate and wait: Cancel ends the count early
  std::cout << (result == xum::mrOk ? "ok" : "cancelled") << ": " << found << " primes below "
            << limit << ", " << updates << " progress updates on the main thread\n";
  if (off_main != 0 || (result == xum::mrOk) == cancel) return 1;
  return 0;
}
