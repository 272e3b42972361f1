#include "net/xumbaseprotocol.h"

#include <cstdint>

#include "core/xle.h"

namespace xum {

TxumBaseProtocol::TxumBaseProtocol() = default;

TxumBaseProtocol::~TxumBaseProtocol() = default;

void TxumBaseProtocol::Initialized() {}

void TxumBaseProtocol::DispatchRequest(int) {}

void TxumBaseProtocol::ProcessRequest() {
  InChannel.Position = 0;
  InChannel.Filled = 0;
  unsigned char code[4];
  InChannel.ReceiveBuf(code, 4);
  DispatchRequest(le::load<std::int32_t>(code));
}

void TxumBaseProtocol::Synchronize(const TThreadMethod& Method) {
  if (ServingThread != nullptr) ServingThread->Synchronize(Method);
}

void TxumBaseProtocol::Close() {
  if (OutChannel.Socket != nullptr) OutChannel.Socket->Close();
}

}  // namespace xum
