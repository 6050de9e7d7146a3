#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/socket.h"
#include "protocol/basic_io.h"

namespace morvex::old_protocol {

// A TCP connection as a stream. Every failure is an error::ESystemError.
class OsalSocket final : public BasicIo {
 public:
  // Resolves and connects. port is in host byte order.
  OsalSocket(const std::string& host, std::uint32_t port);
  ~OsalSocket() override;
  OsalSocket(const OsalSocket&) = delete;
  OsalSocket& operator=(const OsalSocket&) = delete;

  // Takes in pending input before it sends. A peer that cannot get rid of its answers may stop reading, and
  // both sides would wait for each other.
  void write(const std::uint8_t* bytes, std::size_t count) override;
  void flush() override {}  // nothing is held back here
  void gather(bool on) override { socket_gather(socket_, on); }
  // The end of the stream is a failure as well.
  std::size_t read(std::uint8_t* bytes, std::size_t capacity) override;

 private:
  void showWaiting();
  void takeEarly();
  std::size_t giveEarly(std::uint8_t* bytes, std::size_t capacity);

  SocketHandle socket_ = kInvalidSocket;
  std::vector<std::uint8_t> early_;  // input that came ahead of a write
  std::size_t earlyGiven_ = 0;       // how many of those read() has handed out
  bool drained_ = true;              // the last receive took all input at hand
};

// The stream of a session: a connection under a buffer.
std::unique_ptr<BasicIo> connectSocketIo(const std::string& host, std::uint32_t port);

}  // namespace morvex::old_protocol
