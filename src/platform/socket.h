#pragma once

#include <cstddef>
#include <cstdint>

namespace morvex {

// TCP over IPv4, as plain functions that neither throw nor print. A result is null for success, otherwise a
// message; it stays valid until two further messages have been formatted. For one thread.

using SocketHandle = std::intptr_t;
inline constexpr SocketHandle kInvalidSocket = -1;

// Flags of socket_connect.
inline constexpr unsigned kSocketNonBlocking = 1;
inline constexpr unsigned kSocketNoDelay = 2;

const char* socket_startup();

// address: IPv4, network byte order. A dotted address needs no name service.
const char* socket_resolve(const char* host, std::uint32_t& address);

// port: host byte order. A failure leaves nothing open.
const char* socket_connect(std::uint32_t address, std::uint16_t port, SocketHandle& socket, unsigned flags);

// Sends all of it.
const char* socket_send(SocketHandle socket, const void* buffer, std::size_t length);

// Delivers what one receive gives. received 0 means that the peer has closed.
const char* socket_recv(SocketHandle socket, void* buffer, std::size_t length, std::size_t& received);

// True when the socket can be read within that time.
bool socket_readable(SocketHandle socket, int seconds);

const char* socket_close(SocketHandle socket);

// The system's text of an error code, in a buffer that the next call overwrites.
const char* socket_error_text(unsigned code);

// printf into one of two buffers in turn, so that a message may embed another. Cut at 255 characters.
const char* socket_format(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The system's text of an error code as it comes, terminated, into a buffer of that capacity.
void platform_error_text(unsigned code, char* buffer, std::size_t capacity);

}  // namespace morvex
