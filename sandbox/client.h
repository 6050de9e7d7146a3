#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "foundation/big_num.h"
#include "platform/listener.h"
#include "protocol/ber_reader.h"
#include "protocol/messages/handshake.h"
#include "sandbox/activity.h"
#include "sandbox/answer.h"
#include "sandbox/handler.h"
#include "sandbox/options.h"

namespace morvex::sandbox {

// The sessions of this run, which can be reopened as long as it lasts.
class Sessions {
 public:
  BigNum issue();
  bool isIssued(const BigNum& key) const;

 private:
  std::uint32_t count_ = 0;
};

// What the clients share.
struct Service {
  const Options& options;
  Handler& handler;
  Activity& activity;
  Sessions sessions;
};

// The stream under a client's reader: input straight from the connection, output into a buffer.
class ClientStream final : public old_protocol::BasicIo {
 public:
  // activity must outlive the stream.
  ClientStream(Peer peer, Activity& activity) : peer_(std::move(peer)), activity_(activity) {}

  // Returns 0 if nothing has come, or nothing ever will; the latter sets ended.
  std::size_t read(std::uint8_t* bytes, std::size_t capacity) override;
  void write(const std::uint8_t* bytes, std::size_t count) override;
  void flush() override {}

  // Sends what the connection takes at the moment. False if it has failed.
  bool drain();

  std::size_t buffered() const { return buffer_.size() - sent_; }
  bool ended() const { return ended_; }
  SocketHandle handle() const { return peer_.handle(); }

 private:
  Peer peer_;
  Activity& activity_;
  std::vector<std::uint8_t> buffer_;
  std::size_t sent_ = 0;
  bool ended_ = false;
};

// One client: the handshake, then its requests, answered in their order.
class Client {
 public:
  // service must outlive the client.
  Client(Peer peer, Service& service);
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
  ~Client() { --service_.activity.connected; }

  // Takes what has come, or goes on with a backlog. Broken or unexpected input ends the client.
  void takeInput(Time now);

  // Writes and sends what is due.
  void giveOutput(Time now);

  void drop() { state_ = State::gone; }

  SocketHandle handle() const { return stream_->handle(); }
  bool wantsInput() const { return state_ < State::ending; }
  // Whether messages are left from an earlier turn.
  bool hasBacklog() const { return backlog_ && wantsInput(); }
  bool wantsOutput(Time now) const { return stream_->buffered() > 0 || isDue(now); }
  // When the client needs a turn though nothing can be read or written before; empty if it doesn't.
  std::optional<Time> nextTurn(Time now) const;
  bool isGone() const { return state_ == State::gone; }

 private:
  // ending: nothing more is read, and what is queued goes out.
  enum class State { negotiating, acknowledging, loggingIn, open, ending, gone };

  struct Queued {
    std::unique_ptr<Answer> answer;
    Time due;
    Time asked;                       // when its request came
    std::optional<RequestKind> kind;  // of that request, if it is one that is counted
  };

  Client(std::unique_ptr<ClientStream> stream, Service& service);

  template <class Action>
  void guard(Action&& action);
  bool isDue(Time now) const { return !queue_.empty() && queue_.front().due <= now; }
  void take(protocol::BerValue& message, Time now);
  void negotiate(const protocol::ClientWants& wants, Time now);
  void logIn(const protocol::BerValue& message, Time now);
  void serve(protocol::BerValue& message, Time now);
  template <class Message>
  void queueMessage(Message message, Time due) {
    queue_.push_back({std::make_unique<MessageAnswer>(std::make_unique<Message>(std::move(message))), due,
                      due, std::nullopt});
  }
  void openSession(const BigNum& key, Time now);
  void finishAnswer();

  Service& service_;
  ClientStream* stream_;  // owned by the reader
  old_protocol::BerReader reader_;
  State state_ = State::negotiating;
  bool backlog_ = false;
  std::deque<Queued> queue_;
};

}  // namespace morvex::sandbox
