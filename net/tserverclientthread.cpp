#include "net/tserverclientthread.h"

namespace xum {

TServerClientThread::TServerClientThread(TServerClientWinSocket* ASocket) : socket_(ASocket) {}

TServerClientThread::~TServerClientThread() { Stop(); }

void TServerClientThread::Execute() {
  struct tell_end {
    TServerClientThread* self;
    ~tell_end() {
      if (self->ended_) self->ended_(self);
    }
  } end{this};
  ClientExecute();
}

void TServerClientThread::ClientExecute() {}

}  // namespace xum
