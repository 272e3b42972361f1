#include "net/xumdemoprotocol.h"

#include <algorithm>

#include "core/xle.h"
#include "core/xutf.h"

namespace xum {

void TxumDemoProtocol::send_int(TxumBaseInterface& channel, std::int32_t value) {
  unsigned char bytes[4];
  le::store<std::int32_t>(bytes, value);
  channel.SendBuf(bytes, 4);
}

std::int32_t TxumDemoProtocol::receive_int(TxumBaseInterface& channel) {
  unsigned char bytes[4];
  channel.ReceiveBuf(bytes, 4);
  return le::load<std::int32_t>(bytes);
}

void TxumDemoProtocol::log(const std::string& line) {
  if (OnLog) OnLog(line);
}

namespace {

// A received text for a log line: up to its first zero unit (the part of
// the text that came whole), with its length in code units.
std::string shown(const UnicodeString& text) {
  return "\"" + xutf16_to_utf8(text.substr(0, text.find(u'\0'))) + "\" (" +
         std::to_string(text.size()) + " units)";
}

}  // namespace

UnicodeString TxumDemoProtocol::Echo(const UnicodeString& Text) {
  send_int(OutChannel, rqEcho);
  OutChannel.SendText(Text);
  OutChannel.EndSend();
  return OutChannel.ReceiveText();
}

std::int32_t TxumDemoProtocol::Add(std::int32_t A, std::int32_t B) {
  send_int(OutChannel, rqAdd);
  send_int(OutChannel, A);
  send_int(OutChannel, B);
  OutChannel.EndSend();
  return receive_int(OutChannel);
}

std::int32_t TxumDemoProtocol::Ping(std::int32_t N, int TimeoutMs) {
  send_int(OutChannel, rqPing);
  send_int(OutChannel, N);
  OutChannel.EndSend();
  // After EndSend the buffer is empty: the answer's first bytes are the
  // socket's to wait for.
  if (TimeoutMs >= 0 && !OutChannel.Socket->WaitForData(TimeoutMs))
    throw ESocketError(u"No answer to the ping within " +
                       xutf8_to_utf16(std::to_string(TimeoutMs)) + u" ms");
  return receive_int(OutChannel);
}

std::string TxumDemoProtocol::Transfer(const std::string& Bytes) {
  if (Bytes.size() > static_cast<std::size_t>(MaxTransfer))
    throw xexception(xexception::out_of_range);
  const auto size = static_cast<std::int32_t>(Bytes.size());
  send_int(OutChannel, rqTransfer);
  send_int(OutChannel, size);
  OutChannel.SendBuf(Bytes.data(), size);
  OutChannel.EndSend();
  std::string back(Bytes.size(), '\0');
  OutChannel.ReceiveBuf(back.data(), size);
  return back;
}

void TxumDemoProtocol::Note(const UnicodeString& Text) {
  send_int(OutChannel, rqNote);
  OutChannel.SendText(Text);
  OutChannel.EndSend();
}

void TxumDemoProtocol::Initialized() {
  ++InitializedCount;
  log("linked");
}

void TxumDemoProtocol::DispatchRequest(int Code) {
  switch (Code) {
    case rqEcho: {
      const UnicodeString text = InChannel.ReceiveText();
      InChannel.SendText(text);
      InChannel.EndSend();
      log("echo " + shown(text));
      break;
    }
    case rqAdd: {
      const std::int32_t a = receive_int(InChannel);
      const std::int32_t b = receive_int(InChannel);
      // Wraps as the 32-bit machine does, without signed overflow.
      const auto sum =
          static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
      send_int(InChannel, sum);
      InChannel.EndSend();
      log("add " + std::to_string(a) + " + " + std::to_string(b) + " = " + std::to_string(sum));
      break;
    }
    case rqPing: {
      const std::int32_t n = receive_int(InChannel);
      send_int(InChannel, n);
      InChannel.EndSend();
      log("ping " + std::to_string(n) + " answered");
      break;
    }
    case rqTransfer: {
      const std::int32_t size = receive_int(InChannel);
      if (size < 0 || size > MaxTransfer)
        throw ESocketError(u"A transfer announced " + xutf8_to_utf16(std::to_string(size)) +
                           u" bytes");
      // Taken in pieces: a size that announces more than comes costs no
      // more memory than what came.
      std::string bytes;
      while (static_cast<std::int32_t>(bytes.size()) < size) {
        const std::size_t at = bytes.size();
        const auto piece = std::min<std::int32_t>(size - static_cast<std::int32_t>(at), 1 << 16);
        bytes.resize(at + static_cast<std::size_t>(piece));
        InChannel.ReceiveBuf(bytes.data() + at, piece);
      }
      InChannel.SendBuf(bytes.data(), size);
      InChannel.EndSend();
      log("transfer of " + std::to_string(size) + " bytes returned");
      break;
    }
    case rqNote: {
      const UnicodeString text = InChannel.ReceiveText();
      const auto deliver = [this, &text] {
        if (OnNote) OnNote(text);
      };
      if (ServingThread != nullptr)
        Synchronize(deliver);
      else
        deliver();  // the client already handles requests on the main thread
      log("note " + shown(text));
      break;
    }
    default:
      ++Unknown;
      log("unknown request " + std::to_string(Code) + " ignored");
      return;
  }
  ++Served;
}

}  // namespace xum
