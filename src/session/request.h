#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "protocol/record.h"

namespace morvex {
class Connection;
}

namespace morvex::comquery {

// One question to the server and its answer. Counts its references: the creator holds one in a Held, and the
// connection another while the request is under way.
class Request {
 public:
  enum class State : std::uint32_t { created = 0, sent = 1, answered = 2 };

  Request() = default;
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;

  // Names the request in messages to the user.
  virtual std::string describe() const { return "Unknown request"; }

  // The payload: one of the alternatives of protocol::Request. Called once.
  virtual std::unique_ptr<protocol::Record> encode() = 0;

  // Moves what it needs out of the payload of the response. A refusal by the server sets the error code.
  // Throws errors::bererror for a payload of another class.
  virtual void decode(protocol::Record& response) = 0;

  // Called right after decode. The usual body is connection.forget(*this).
  virtual void finished(Connection& connection) = 0;

  void retain() { ++references_; }
  // Gives up a reference; the last one destroys the request.
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

// The creator's reference to a request, which make() hands out. Empty after a move and after keep.
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

  // Leaves the request to the end of the process, which frees all memory at once. To destroy a large answer
  // piece by piece costs a fifth of listing it.
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

}  // namespace morvex::comquery
