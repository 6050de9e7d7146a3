#include "sandbox/server.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <exception>
#include <optional>
#include <string>
#include <utility>

#include "foundation/errors.h"
#include "protocol/ber_reader.h"
#include "protocol/catalogue.h"
#include "protocol/facts.h"
#include "protocol/messages/handshake.h"
#include "sandbox/answer.h"

namespace morvex::sandbox {
namespace {

// Bytes written ahead for a client that has not taken them yet.
constexpr std::size_t kBufferTarget = 256 * 1024;

// From a client for which more than this waits nothing further is taken: answers that are due, and bytes of
// memory, which count for answers that are not due yet too. Besides what it says, an answer holds so many.
constexpr std::size_t kMaxAnswers = 64;
constexpr std::size_t kMaxWaiting = std::size_t{16} << 20;
constexpr std::size_t kAnswerItself = 256;

// How long one client is served before the others have their turn, and all of them together at most.
constexpr std::chrono::milliseconds kTurn{2}, kRound{250};

// From one attempt to accept a client for which there is no descriptor to the next.
constexpr std::chrono::milliseconds kRetry{250};

// "Morvex", above the number of the session.
constexpr const char* kKeyPrefix = "4d6f7276657800000000";

BigNum keyOf(std::uint32_t session) {
  BigNum prefix;
  prefix.fromHex(kKeyPrefix);
  return BigNum::add(prefix, session);
}

// Since 1970.
std::chrono::microseconds wallClock(const Options& options) {
  return options.now ? std::chrono::seconds(*options.now)
                     : std::chrono::duration_cast<std::chrono::microseconds>(
                           std::chrono::system_clock::now().time_since_epoch());
}

std::chrono::milliseconds until(Time due, Time now) {
  return std::max(std::chrono::ceil<std::chrono::milliseconds>(due - now), std::chrono::milliseconds(0));
}

// The stream under a client's reader: input straight from the connection, output into a buffer.
class ClientStream final : public old_protocol::BasicIo {
 public:
  // activity must outlive the stream.
  ClientStream(Peer peer, Activity& activity) : peer_(std::move(peer)), activity_(activity) {}

  // Returns 0 if nothing has come, or nothing ever will; the latter sets ended.
  std::size_t read(std::uint8_t* bytes, std::size_t capacity) override {
    const auto received = peer_.receive({bytes, capacity});
    ended_ = !received;
    activity_.bytesReceived += received.value_or(0);
    return received.value_or(0);
  }

  void write(const std::uint8_t* bytes, std::size_t count) override {
    buffer_.insert(buffer_.end(), bytes, bytes + count);
  }
  void flush() override {}

  // Sends as much as the connection takes at the moment. False if it has failed.
  bool drain() {
    while (buffered() > 0) {
      const auto sent = peer_.send({buffer_.data() + sent_, buffered()});
      if (!sent) {
        return false;
      }
      if (*sent == 0) {
        break;
      }
      sent_ += *sent;
      activity_.bytesSent += *sent;
    }
    if (buffered() == 0 || sent_ >= kBufferTarget) {
      buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(sent_));
      sent_ = 0;
    }
    return true;
  }

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

}  // namespace

// One client: the handshake, then its requests, answered in their order.
class Client {
 public:
  // service must outlive the client.
  Client(Peer peer, Service& service);
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
  ~Client() { --service_.activity.connected; }

  // Reads new input, or goes on with a backlog. Broken or unexpected input ends the client.
  void takeInput(Time now, Turn turn) {
    guard([&] {
      if (!backlog_) {
        reader_.read();
        backlog_ = true;
      }
      do {
        goOn(now, turn);
        if (isFull(now)) {
          writeDue(now, turn);  // many small answers leave together
        }
      } while (hasBacklog(now) && !turn.isOver());
    });
    if (state_ < State::ending && !backlog_ && stream_->ended()) {
      state_ = State::ending;
    }
  }

  // Writes and sends the answers that are due.
  void giveOutput(Time now, Turn turn) {
    guard([&] {
      writeDue(now, turn);
      if (!stream_->drain()) {
        drop();
      }
    });
    if (state_ == State::ending && queue_.empty() && stream_->buffered() == 0) {
      drop();
    }
  }

  void drop() { state_ = State::gone; }

  SocketHandle handle() const { return stream_->handle(); }
  bool wantsInput(Time now) const { return state_ < State::ending && !backlog_ && !isFull(now); }
  // Whether work or messages are left from an earlier turn, and may be gone on with.
  bool hasBacklog(Time now) const { return state_ < State::ending && backlog_ && (current_ || !isFull(now)); }
  bool wantsOutput(Time now) const { return stream_->buffered() > 0 || isDue(now); }
  // When the client needs a turn even if its socket is not ready before; empty if it does not.
  std::optional<Time> nextTurn(Time now) const {
    if (hasBacklog(now)) {
      return now;
    }
    return queue_.empty() || isDue(now) ? std::nullopt : std::optional(queue_.front().due);
  }

  bool isGone() const { return state_ == State::gone; }

 private:
  // ending: nothing more is read, and the queue goes out.
  enum class State { negotiating, acknowledging, loggingIn, open, ending, gone };

  struct Queued {
    std::unique_ptr<Answer> answer;
    Time due;
    Time asked;                       // when its request came
    std::optional<RequestKind> kind;  // of that request, if requests of its kind are counted
    std::size_t size = 0;             // bytes that are held for it
  };

  Client(std::unique_ptr<ClientStream> stream, Service& service);

  // A fault in the input, or refused memory, ends this client only.
  template <class Action>
  void guard(Action&& action) {
    try {
      action();
    } catch (const error::Exception&) {
      drop();
    } catch (const std::exception&) {
      drop();
    }
  }

  bool isDue(Time now) const { return !queue_.empty() && queue_.front().due <= now; }
  bool isFull(Time now) const {
    return (queue_.size() > kMaxAnswers && queue_[kMaxAnswers].due <= now) ||
           waiting_ + stream_->buffered() > kMaxWaiting;
  }

  // Takes the next message, unless the one before it is still worked on, and prepares its answer. So the
  // requests of a client are served in their order, however long one of them takes.
  void goOn(Time now, Turn& turn) {
    if (!current_) {
      const std::unique_ptr<protocol::Record> message = reader_.nextMessage();
      backlog_ = message != nullptr;
      if (message) {
        take(*message, now);
      }
    }
    if (current_ && current_->answer->prepare(turn, reader_.legacy())) {
      current_->size = kAnswerItself + current_->answer->size();
      waiting_ += current_->size;
      queue_.push_back(*std::exchange(current_, std::nullopt));
    }
  }

  void take(protocol::Record& message, Time now) {
    switch (state_) {
      case State::negotiating:
        if (const auto* wants = dynamic_cast<const protocol::ClientWants*>(&message)) {
          return negotiate(*wants, now);
        }
        break;
      case State::acknowledging:
        if (dynamic_cast<const protocol::NegotiateAck*>(&message) != nullptr) {
          state_ = State::loggingIn;
          return;
        }
        break;
      case State::loggingIn:
        return logIn(message, now);
      default:
        return serve(message, now);
    }
    drop();
  }

  void negotiate(const protocol::ClientWants& wants, Time now) {
    const bool isOurVersion = protocol::isCompatible(wants.version);
    if (!isOurVersion || wants.authentication.as<protocol::ClientNoAuth>() == nullptr) {
      protocol::NegotiateNack nack;
      nack.reason =
          isOurVersion
              ? "This server takes a login and a password only"
              : "This server speaks version " + std::to_string(protocol::majorOf(protocol::kVersion)) +
                    " of the protocol, not version " + std::to_string(protocol::majorOf(wants.version));
      answerWith(std::move(nack), now);
      state_ = State::ending;
      return;
    }
    protocol::ServerOffers offers;
    offers.version = protocol::kVersion;
    offers.authentication.emplace<protocol::ServerNoAuth>();
    answerWith(std::move(offers), now);
    state_ = State::acknowledging;
  }

  // A refusal has no message: the connection ends.
  void logIn(const protocol::Record& message, Time now) {
    if (const auto* session = dynamic_cast<const protocol::NewSession*>(&message)) {
      const Options& options = service_.options;
      if (session->login == options.login && session->password == options.password &&
          session->domain == options.domain) {
        return openSession(service_.sessions.issue(), now);
      }
    } else if (const auto* reopen = dynamic_cast<const protocol::ReopenSession*>(&message)) {
      if (service_.sessions.isIssued(reopen->sessionKey)) {
        return openSession(reopen->sessionKey, now);
      }
    }
    state_ = State::ending;
  }

  void serve(protocol::Record& message, Time now) {
    if (auto* request = dynamic_cast<protocol::Request*>(&message)) {
      const Time asked = std::chrono::steady_clock::now();
      const RequestKind kind = Handler::kindOf(*request);
      current_ = {service_.handler.answer(*request, reader_.legacy()), now + service_.options.delay, asked,
                  kind};
    } else if (dynamic_cast<const protocol::ServerTimeReq*>(&message) != nullptr) {
      const std::int64_t clock = wallClock(service_.options).count();
      protocol::ServerTimeResp response;
      response.seconds = static_cast<std::int32_t>(clock / 1'000'000);
      response.microseconds = static_cast<std::int32_t>(clock % 1'000'000);
      answerWith(std::move(response), now + service_.options.delay);
    } else {
      state_ = State::ending;  // EndSession, or a message that no open session expects
    }
  }

  template <class Message>
  void answerWith(Message message, Time due) {
    current_ = {std::make_unique<MessageAnswer>(std::make_unique<Message>(std::move(message))), due, due,
                std::nullopt};
  }

  void openSession(const BigNum& key, Time now) {
    protocol::NewSessionResp response;
    response.sessionKey = key;
    response.serverTime = static_cast<std::int32_t>(service_.options.present());
    response.rootId = service_.handler.rootId();
    response.text3 = "sandbox";
    answerWith(std::move(response), now);
    ++service_.activity.sessions;
    state_ = State::open;
  }

  void writeDue(Time now, const Turn& turn) {
    while (stream_->buffered() < kBufferTarget && isDue(now)) {
      const bool last = queue_.front().answer->writePortion(*stream_, reader_.legacy());
      const Time behind = std::chrono::steady_clock::now();
      if (last) {
        finishAnswer(behind);
      }
      if (turn.isOver(behind)) {
        break;
      }
    }
  }

  void finishAnswer(Time now) {
    if (const Queued& done = queue_.front(); done.kind) {
      const auto time = now - done.asked;
      const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
      service_.activity.of(*done.kind).time.add(static_cast<std::uint64_t>(microseconds));
    }
    waiting_ -= queue_.front().size;
    queue_.pop_front();
  }

  Service& service_;
  ClientStream* stream_;  // owned by the reader
  old_protocol::BerReader reader_;
  State state_ = State::negotiating;
  bool backlog_ = false;           // there may be messages that are read and not taken
  std::optional<Queued> current_;  // the answer to the last one taken, until it is prepared
  std::deque<Queued> queue_;
  std::size_t waiting_ = 0;  // bytes that are held for the queue
};

BigNum Sessions::issue() { return keyOf(++count_); }

bool Sessions::isIssued(const BigNum& key) const { return key > keyOf(0) && key <= keyOf(count_); }

Client::Client(Peer peer, Service& service)
    : Client(std::make_unique<ClientStream>(std::move(peer), service.activity), service) {}

Client::Client(std::unique_ptr<ClientStream> stream, Service& service)
    : service_(service),
      stream_(stream.get()),
      reader_(protocol::guiProtocol::instance(), std::move(stream)) {
  ++service_.activity.accepted;
  ++service_.activity.connected;
}

Server::Server(Listener& listener, Service& service) : listener_(listener), service_(service) {}

Server::~Server() = default;

void Server::run() {
  while (!stopRequested()) {
    wait();
    serveClients();
    if (exhausted_ || watches_.back().input) {
      acceptClients();
    }
  }
}

void Server::wait() {
  const Time now = std::chrono::steady_clock::now();
  Time due = exhausted_ ? now + kRetry : Time::max();
  watches_.clear();
  for (const auto& client : clients_) {
    watches_.push_back({client->handle(), client->wantsInput(now), client->wantsOutput(now)});
    due = std::min(due, client->nextTurn(now).value_or(due));
  }
  watches_.push_back({listener_.handle(), !exhausted_, false});
  waitForSockets(watches_, due != Time::max() ? std::optional(until(due, now)) : std::nullopt);
}

void Server::serveClients() {
  const auto length = std::min<Time::duration>(kTurn, Time::duration(kRound) / (clients_.size() + 1));
  for (std::size_t i = 0; i < clients_.size(); ++i) {
    Client& client = *clients_[i];
    const Time now = std::chrono::steady_clock::now();
    if (watches_[i].failed) {
      client.drop();
      continue;
    }
    if (watches_[i].input || client.hasBacklog(now)) {
      client.takeInput(now, Turn(now + length));
      if (stopRequested()) {  // a single message may be long work
        return;
      }
    }
    if (!client.isGone()) {
      client.giveOutput(now, Turn(std::chrono::steady_clock::now() + length));
    }
  }
  std::erase_if(clients_, [](const auto& client) { return client->isGone(); });
}

void Server::acceptClients() {
  const Turn turn(std::chrono::steady_clock::now() + kTurn);
  while (!turn.isOver()) {
    std::optional<Peer> peer = listener_.accept(exhausted_);
    if (!peer) {
      return;
    }
    clients_.push_back(std::make_unique<Client>(std::move(*peer), service_));
  }
}

}  // namespace morvex::sandbox
