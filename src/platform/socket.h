#pragma once

#include <cstddef>
#include <cstdint>

namespace morvex {

// TCP over IPv4. These functions neither throw nor print: they return null for success, otherwise a message.
// It stays valid until two further messages have been formatted. For one thread.

using SocketHandle = std::intptr_t;
inline constexpr SocketHandle kInvalidSocket = -1;

// Flags of socket_connect.
inline constexpr unsigned kSocketNonBlocking = 1;
inline constexpr unsigned kSocketNoDelay = 2;

const char* socket_startup();

// address: IPv4, network byte order. A dotted address needs no name service.
const char* socket_resolve(const char* host, std::uint32_t& address);

// port: host byte order. A failure leaves nothing open. A connection whose peer vanishes fails after about
// two minutes; one whose peer lives and is silent stays.
const char* socket_connect(std::uint32_t address, std::uint16_t port, SocketHandle& socket, unsigned flags);

// Sends all of it.
const char* socket_send(SocketHandle socket, const void* buffer, std::size_t length);

// Between true and false, what is sent may wait for a fraction of a second until it fills a packet. Does
// nothing on a system that cannot.
void socket_gather(SocketHandle socket, bool on);

// Makes one receive. received is 0 if the peer has closed.
const char* socket_recv(SocketHandle socket, void* buffer, std::size_t length, std::size_t& received);

// Waits so long at most. True if the socket can be read.
bool socket_readable(SocketHandle socket, int seconds);

// Whether bytes have come that no receive has taken yet. An end or a failure of the connection is none: it
// stays for the call that meets it.
bool socket_has_input(SocketHandle socket);

const char* socket_close(SocketHandle socket);

// The system's text of an error code, in a buffer that the next call overwrites.
const char* socket_error_text(unsigned code);

// printf into one of two buffers in turn, so that a message may embed another. Cut at 255 characters.
const char* socket_format(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace morvex
