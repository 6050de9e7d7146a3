#pragma once

#include <cstddef>
#include <string>

#include "platform/socket.h"

namespace morvex {

// The steps of a connection that each system takes in its own way. A step that fails leaves its code to
// platform_socket_error.

int platform_socket_error();
bool platform_interrupted(int code);
bool platform_would_block(int code);  // also said of a connection that the system goes on making

// A TCP socket, or kInvalidSocket.
SocketHandle platform_open_socket();
bool platform_set_non_blocking(SocketHandle socket, bool nonBlocking);
bool platform_set_no_delay(SocketHandle socket, bool noDelay);
// Lets the system end the connection once the peer's machine or the network is gone. A peer that says nothing
// is asked whether it is there: first after kFirstProbe, then every kNextProbe, kProbes times in all. Where
// the system can, kUnacknowledged bounds the wait for the acknowledgement of what was sent.
bool platform_watch_peer(SocketHandle socket);
inline constexpr int kFirstProbe = 60, kNextProbe = 15, kUnacknowledged = 120;  // seconds
inline constexpr int kProbes = 4;
bool platform_connect(SocketHandle socket, std::uint32_t address, std::uint16_t port);

enum class Readiness { toRead, toWrite, connected };
inline constexpr int kForEver = -1;

// Waits until the socket is ready or has failed. Returns 1, 0 after that many seconds, or -1. settled says
// whether the socket itself ended the wait for a connection.
int platform_wait(SocketHandle socket, Readiness wanted, int seconds, bool* settled = nullptr);

// The error of a connection that was waited for, 0 for none.
bool platform_connection_error(SocketHandle socket, int& code);

// How many bytes have passed, or -1.
std::ptrdiff_t platform_send(SocketHandle socket, const void* bytes, std::size_t count);
std::ptrdiff_t platform_receive(SocketHandle socket, void* room, std::size_t count);

// How many bytes have come, 0 also if that cannot be told.
std::size_t platform_pending(SocketHandle socket);

void platform_shutdown(SocketHandle socket);
bool platform_close_socket(SocketHandle socket);  // releases it in any case

// For listeners. An accepted socket does not block; kInvalidSocket if there is none. Exhausted is a system
// that has no room for another one.
SocketHandle platform_accept(SocketHandle listener);
bool platform_exhausted(int code);
// Throws error::ESystemError with the text of platform_socket_error.
[[noreturn]] void throwSocketError(const std::string& what);

// The system's text of an error code as it comes, terminated, into a buffer of that capacity.
void platform_error_text(unsigned code, char* buffer, std::size_t capacity);

}  // namespace morvex
