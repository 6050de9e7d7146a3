#include "sandbox/client.h"

#include <exception>
#include <string>
#include <utility>

#include "foundation/errors.h"
#include "protocol/catalogue.h"
#include "protocol/facts.h"

namespace morvex::sandbox {
namespace {

// As much is written ahead of what a client takes.
constexpr std::size_t kBufferTarget = 256 * 1024;

// After so long, the rest of what a client has sent waits until the others have had their turn.
constexpr std::chrono::milliseconds kTurn{2};

// "Morvex", above the number of the session.
constexpr const char* kKeyPrefix = "4d6f7276657800000000";

BigNum keyOf(std::uint32_t session) {
  BigNum prefix;
  prefix.fromHex(kKeyPrefix);
  return BigNum::add(prefix, session);
}

struct WallClock {
  std::int32_t seconds;
  std::int32_t microseconds;
};

WallClock wallClock(const Options& options) {
  if (options.now) {
    return {static_cast<std::int32_t>(*options.now), 0};
  }
  using std::chrono::microseconds;
  const auto now =
      std::chrono::duration_cast<microseconds>(std::chrono::system_clock::now().time_since_epoch());
  return {static_cast<std::int32_t>(now.count() / 1'000'000),
          static_cast<std::int32_t>(now.count() % 1'000'000)};
}

}  // namespace

BigNum Sessions::issue() { return keyOf(++count_); }

bool Sessions::isIssued(const BigNum& key) const { return key > keyOf(0) && key <= keyOf(count_); }

std::size_t ClientStream::read(std::uint8_t* bytes, std::size_t capacity) {
  const auto received = peer_.receive({bytes, capacity});
  ended_ = !received;
  activity_.bytesReceived += received.value_or(0);
  return received.value_or(0);
}

void ClientStream::write(const std::uint8_t* bytes, std::size_t count) {
  buffer_.insert(buffer_.end(), bytes, bytes + count);
}

bool ClientStream::drain() {
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

Client::Client(Peer peer, Service& service)
    : Client(std::make_unique<ClientStream>(std::move(peer), service.activity), service) {}

Client::Client(std::unique_ptr<ClientStream> stream, Service& service)
    : service_(service),
      stream_(stream.get()),
      reader_(protocol::guiProtocol::instance(), std::move(stream)) {
  ++service_.activity.accepted;
  ++service_.activity.connected;
}

std::optional<Time> Client::nextTurn(Time now) const {
  if (hasBacklog()) {
    return now;
  }
  return queue_.empty() || isDue(now) ? std::nullopt : std::optional(queue_.front().due);
}

// A fault in what a client sent, or more than there is memory for, ends that client alone.
template <class Action>
void Client::guard(Action&& action) {
  try {
    action();
  } catch (const error::Exception&) {
    drop();
  } catch (const std::exception&) {
    drop();
  }
}

void Client::takeInput(Time now) {
  guard([&] {
    if (!backlog_) {
      reader_.read();
      backlog_ = true;
    }
    const Time end = now + kTurn;
    while (hasBacklog()) {
      if (const std::unique_ptr<protocol::BerValue> message = reader_.nextMessage()) {
        take(*message, now);
      } else {
        backlog_ = false;
      }
      if (std::chrono::steady_clock::now() >= end) {
        break;
      }
    }
  });
  if (wantsInput() && !backlog_ && stream_->ended()) {
    state_ = State::ending;
  }
}

void Client::giveOutput(Time now) {
  guard([&] {
    while (stream_->buffered() < kBufferTarget && isDue(now)) {
      if (queue_.front().answer->writePortion(*stream_, reader_.legacy())) {
        finishAnswer();
      }
    }
    if (!stream_->drain()) {
      drop();
    }
  });
  if (state_ == State::ending && queue_.empty() && stream_->buffered() == 0) {
    drop();
  }
}

void Client::finishAnswer() {
  if (const Queued& done = queue_.front(); done.kind) {
    const auto time = std::chrono::steady_clock::now() - done.asked;
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
    service_.activity.of(*done.kind).time.add(static_cast<std::uint64_t>(microseconds));
  }
  queue_.pop_front();
}

void Client::take(protocol::BerValue& message, Time now) {
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

void Client::negotiate(const protocol::ClientWants& wants, Time now) {
  const bool isOurVersion = protocol::isCompatible(wants.version);
  if (!isOurVersion || wants.authentication.as<protocol::ClientNoAuth>() == nullptr) {
    protocol::NegotiateNack nack;
    nack.reason =
        isOurVersion
            ? "This server takes a login and a password only"
            : "This server speaks version " + std::to_string(protocol::majorOf(protocol::kVersion)) +
                  " of the protocol, not version " + std::to_string(protocol::majorOf(wants.version));
    queueMessage(std::move(nack), now);
    state_ = State::ending;
    return;
  }
  protocol::ServerOffers offers;
  offers.version = protocol::kVersion;
  offers.authentication.emplace<protocol::ServerNoAuth>();
  queueMessage(std::move(offers), now);
  state_ = State::acknowledging;
}

// A refusal has no message: the connection ends.
void Client::logIn(const protocol::BerValue& message, Time now) {
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

void Client::openSession(const BigNum& key, Time now) {
  protocol::NewSessionResp response;
  response.sessionKey = key;
  response.serverTime = wallClock(service_.options).seconds;
  response.rootId = service_.handler.rootId();
  response.text3 = "sandbox";
  queueMessage(std::move(response), now);
  ++service_.activity.sessions;
  state_ = State::open;
}

void Client::serve(protocol::BerValue& message, Time now) {
  if (auto* request = dynamic_cast<protocol::Request*>(&message)) {
    const Time asked = std::chrono::steady_clock::now();
    const RequestKind kind = kindOf(*request);
    queue_.push_back(
        {service_.handler.answer(*request, reader_.legacy()), now + service_.options.delay, asked, kind});
  } else if (dynamic_cast<const protocol::ServerTimeReq*>(&message) != nullptr) {
    const WallClock clock = wallClock(service_.options);
    protocol::ServerTimeResp response;
    response.seconds = clock.seconds;
    response.microseconds = clock.microseconds;
    queueMessage(std::move(response), now + service_.options.delay);
  } else {
    state_ = State::ending;  // EndSession, or what no open session expects
  }
}

}  // namespace morvex::sandbox
