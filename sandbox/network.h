#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

// The sandbox's only system calls: sockets that never block, waiting for them, and the signals that end the
// program.
namespace sandbox {

// A descriptor that is closed with its owner.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept;
  Descriptor& operator=(Descriptor&& other) noexcept;
  ~Descriptor();

  int number() const { return number_; }

 private:
  int number_;
};

// The connection to one client.
class Peer {
 public:
  explicit Peer(Descriptor descriptor) : descriptor_(std::move(descriptor)) {}

  // Bytes moved, and 0 for none at the moment. Empty when the connection has ended or failed.
  std::optional<std::size_t> receive(std::span<std::uint8_t> buffer);
  std::optional<std::size_t> send(std::span<const std::uint8_t> bytes);

  int number() const { return descriptor_.number(); }

 private:
  Descriptor descriptor_;
};

class Listener {
 public:
  // Listens on the loopback address; port 0 takes a free one. Throws error::ESystemError.
  explicit Listener(std::uint16_t port);

  std::uint16_t port() const { return port_; }

  // The next client that waits. Empty if there is none, or none can be taken; the latter sets exhausted.
  std::optional<Peer> accept(bool& exhausted);

  int number() const { return descriptor_.number(); }

 private:
  Descriptor descriptor_;
  std::uint16_t port_ = 0;
};

// What to wait for on one descriptor, and what came of it.
struct Watch {
  int number;
  bool input;
  bool output;
  bool failed = false;  // the connection is gone
};

// From here on SIGINT and SIGTERM only end a wait.
void catchStopSignals();
bool stopRequested();

// Returns when a watch is ready, the time is over (never without one), or a stop was requested. input and
// output then say what is ready. Throws error::ESystemError.
void waitFor(std::span<Watch> watches, std::optional<std::chrono::milliseconds> time);

}  // namespace sandbox
