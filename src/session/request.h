#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "protocol/record.h"

namespace morvex {

class Connection;

namespace comquery {

// One question to the server and its answer. Counted by hand: the creator holds one reference and the
// connection another while the request is under way. Held keeps the creator's.
class Request {
 public:
  enum class State : std::uint32_t { created = 0, sent = 1, answered = 2 };

  Request() = default;
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;

  // Names the request in messages: text for a person.
  virtual std::string describe() const { return "Unknown request"; }

  // The payload: one of the alternatives of protocol::Request. Called once.
  virtual std::unique_ptr<protocol::BerValue> encode() = 0;

  // Takes what it needs of the payload of the response by moving it. A refusal by the server sets the error
  // code. Throws errors::bererror for a payload of another class.
  virtual void decode(protocol::BerValue& response) = 0;

  // Called right behind decode. The usual body is connection.forget(*this).
  virtual void finished(Connection& connection) = 0;

  void retain() { ++references_; }
  // Gives up a reference; with the last one the request is gone.
  void release();

  // Takes over a reference that is never released.
  static void keepToTheEnd(Request* request);

  State state() const { return state_; }
  void setState(State state) { state_ = state; }
  std::int32_t references() const { return references_; }

  // 0, or the code of the server's refusal. Set by decode.
  std::uint32_t errorCode() const { return errorCode_; }

 protected:
  virtual ~Request() = default;
  void setErrorCode(std::uint32_t code) { errorCode_ = code; }

 private:
  State state_ = State::created;
  std::uint32_t errorCode_ = 0;
  std::int32_t references_ = 1;
  Request* keptBefore_ = nullptr;
};

// The creator's reference to a request: requests are made by make and die with their last reference, never by
// delete. Empty behind a move and behind keep.
template <class T>
class Held {
 public:
  explicit Held(T* request) : request_(request) {}
  Held(Held&& other) noexcept : request_(std::exchange(other.request_, nullptr)) {}
  Held& operator=(Held&& other) noexcept {
    std::swap(request_, other.request_);
    return *this;
  }
  ~Held() {
    if (request_ != nullptr) {
      request_->release();
    }
  }

  // Leaves the request to the end of the process, which gives all memory back at once. Taking a big answer
  // down piece by piece costs a fifth of listing it, and is in vain behind the last use.
  void keep() { Request::keepToTheEnd(std::exchange(request_, nullptr)); }

  T* get() const { return request_; }
  T& operator*() const { return *request_; }
  T* operator->() const { return request_; }

 private:
  T* request_;
};

template <class T, class... Arguments>
Held<T> make(Arguments&&... arguments) {
  return Held<T>(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace comquery

}  // namespace morvex
