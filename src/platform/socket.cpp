#include "platform/socket.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "platform/system_socket.h"

namespace morvex {
namespace {

using Text = std::array<char, 256>;

constexpr int kTimeout = 600;  // seconds that a non-blocking socket may keep a call waiting

// Joins the words of a failed step with the system's text and number.
const char* failure(const char* words, int code) {
  return socket_format("%s: %s (%d)", words, socket_error_text(static_cast<unsigned>(code)), code);
}

const char* failure(const char* words) { return failure(words, platform_socket_error()); }

// Waits for a connection that the system goes on making by itself.
const char* finishConnecting(SocketHandle socket, int seconds) {
  bool settled = false;
  const int result = platform_wait(socket, Readiness::connected, seconds, &settled);
  if (result == 0) {
    return "Connection timed out";
  }
  if (result != 1) {
    return socket_format("Error connecting: Select returned: %d", result);
  }
  if (!settled) {
    return "Error connecting: Select returned, but socket isn't present";
  }
  int code = 0;
  if (!platform_connection_error(socket, code)) {
    return failure("Error retrieving connection status");
  }
  return code == 0 ? nullptr : failure("Error connecting", code);
}

const char* setUpAndConnect(SocketHandle socket, std::uint32_t address, std::uint16_t port, unsigned flags) {
  if (!platform_set_non_blocking(socket, (flags & kSocketNonBlocking) != 0)) {
    return failure("Error setting socket to nonblocking");
  }
  if (!platform_set_no_delay(socket, (flags & kSocketNoDelay) != 0)) {
    return failure("Error disabling Nagle");
  }
  if (!platform_watch_peer(socket)) {
    return failure("Error enabling keep-alive");
  }
  if (platform_connect(socket, address, port)) {
    return nullptr;
  }
  const int code = platform_socket_error();
  if (platform_interrupted(code)) {  // a blocking attempt, which goes on: another connect would be refused
    return finishConnecting(socket, kForEver);
  }
  return platform_would_block(code) ? finishConnecting(socket, kTimeout) : failure("Error connecting", code);
}

}  // namespace

const char* socket_connect(std::uint32_t address, std::uint16_t port, SocketHandle& socket, unsigned flags) {
  socket = kInvalidSocket;
  const SocketHandle made = platform_open_socket();
  if (made == kInvalidSocket) {
    return failure("Error creating socket");
  }
  if (const char* message = setUpAndConnect(made, address, port, flags)) {
    platform_close_socket(made);
    return message;
  }
  socket = made;
  return nullptr;
}

const char* socket_send(SocketHandle socket, const void* buffer, std::size_t length) {
  const auto* bytes = static_cast<const char*>(buffer);
  do {
    const std::ptrdiff_t count = platform_send(socket, bytes, length);
    if (count >= 0) {
      if (static_cast<std::size_t>(count) > length) {
        return "send() sent too much - this is a Winsock error";
      }
      bytes += count;
      length -= static_cast<std::size_t>(count);
      continue;
    }
    const int code = platform_socket_error();
    if (platform_would_block(code)) {
      const int result = platform_wait(socket, Readiness::toWrite, kTimeout);
      if (result == 0) {
        return "Timeout in socket_send()";
      }
      if (result != 1) {
        return failure("Bad error after sleep happened in socket_send()");
      }
    } else if (!platform_interrupted(code)) {
      return failure("Bad error without sleep happened in socket_send()", code);
    }
  } while (length > 0);
  return nullptr;
}

const char* socket_recv(SocketHandle socket, void* buffer, std::size_t length, std::size_t& received) {
  while (true) {
    const std::ptrdiff_t count = platform_receive(socket, buffer, length);
    if (count >= 0) {
      received = static_cast<std::size_t>(count);
      return nullptr;
    }
    const int code = platform_socket_error();
    if (platform_would_block(code)) {
      const int result = platform_wait(socket, Readiness::toRead, kTimeout);
      if (result == 0) {
        return "Timeout in socket_recv()";
      }
      if (result != 1) {
        return failure("Bad error happened in socket_recv()");
      }
    } else if (!platform_interrupted(code)) {
      return failure("Bad error happened without sleep in socket_recv()", code);
    }
  }
}

bool socket_readable(SocketHandle socket, int seconds) {
  return platform_wait(socket, Readiness::toRead, seconds) == 1;
}

bool socket_has_input(SocketHandle socket) { return platform_pending(socket) > 0; }

const char* socket_close(SocketHandle socket) {
  if (!platform_set_non_blocking(socket, false)) {
    return failure("socket_close: Error at ioctlsocket");
  }
  platform_shutdown(socket);
  return platform_close_socket(socket) ? nullptr : failure("Error closing socket");
}

const char* socket_error_text(unsigned code) {
  static Text text;
  platform_error_text(code, text.data(), text.size());
  std::size_t length = std::strlen(text.data());
  while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r')) {
    text[--length] = '\0';
  }
  if (length == 0) {
    std::snprintf(text.data(), text.size(), "%u", code);
  }
  return text.data();
}

const char* socket_format(const char* format, ...) {
  static std::array<Text, 2> texts;
  static std::size_t next = 0;
  Text& text = texts[next];
  next = 1 - next;
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  return text.data();
}

}  // namespace morvex
