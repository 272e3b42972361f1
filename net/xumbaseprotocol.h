// The protocol object of one connected peer: two channels over two
// connections, and the dispatch of the requests that arrive. Derive from it
// and override DispatchRequest to give request codes a meaning; the library
// defines none.
//
// A request on the wire is an int32 code (little-endian) followed by
// arguments whose layout the derived class decides (raw integers and
// structures with SendBuf, texts with SendText; see xumbaseinterface.h).
// There is no header, length or checksum around a request.
//
//   class adder : public xum::TxumBaseProtocol {
//    protected:
//     void DispatchRequest(int code) override {
//       if (code != 1) return;
//       unsigned char b[8];
//       InChannel.ReceiveBuf(b, 8);
//       const auto a = xum::le::load<std::int32_t>(b), c = xum::le::load<std::int32_t>(b + 4);
//       unsigned char sum[4];
//       xum::le::store<std::int32_t>(sum, a + c);
//       InChannel.SendBuf(sum, 4);  // the answer goes back the way the request came
//       InChannel.EndSend();
//     }
//   };
//
// Requests from the peer arrive on InChannel; this side's own requests go
// out on OutChannel (and their answers, if the protocol has any, come back
// on it). A new object has no thread and empty channels; it owns neither
// its sockets nor its thread, and destroying it closes nothing. The server
// and client components (xumserver.h, xumclient.h) fill the channels, set
// ServingThread on the server and call Initialized once both channels are
// connected; each arrival of data on the incoming connection then leads to
// one ProcessRequest.
//
// Thread safety: on the server, ProcessRequest and DispatchRequest run on
// the connection's own thread and reach the main thread only through
// Synchronize; on the client they run on the main thread. Each channel is
// used by one thread at a time. A main thread that blocks in ReceiveBuf for
// an answer runs no Synchronize call meanwhile: a server whose requests
// synchronize must not wait on its main thread for a client that waits for
// such a request's answer (nor may a client share a process and its main
// thread with such a server).
#ifndef XUM_NET_XUMBASEPROTOCOL_H
#define XUM_NET_XUMBASEPROTOCOL_H

#include "core/xexport.h"
#include "framework/tthread.h"
#include "net/tserverclientthread.h"
#include "net/xumbaseinterface.h"

namespace xum {

class XUM_API TxumBaseProtocol {
 public:
  TxumBaseProtocol();
  virtual ~TxumBaseProtocol();
  TxumBaseProtocol(const TxumBaseProtocol&) = delete;
  TxumBaseProtocol& operator=(const TxumBaseProtocol&) = delete;

  // Called once both channels are connected. The base does nothing.
  virtual void Initialized();
  // Handles one request whose code has been read: reads its arguments from
  // InChannel and answers as the derived class decides. The base consumes
  // nothing more and ignores the code.
  virtual void DispatchRequest(int Code);

  // Reads and dispatches one request from InChannel. Whatever was still
  // buffered on InChannel from earlier reads is discarded first. Raises
  // ESocketError when the connection ends before the code is complete.
  void ProcessRequest();
  // Runs Method on the main thread through ServingThread and waits for it;
  // without a serving thread (the client side, which already runs on the
  // main thread) does nothing and does not call Method.
  void Synchronize(const TThreadMethod& Method);
  // Closes the connection of OutChannel.
  void Close();

  // The server's connection thread serving this object; null on the client.
  TServerClientThread* ServingThread = nullptr;
  TxumBaseInterface InChannel;
  TxumBaseInterface OutChannel;
};

}  // namespace xum

#endif  // XUM_NET_XUMBASEPROTOCOL_H
