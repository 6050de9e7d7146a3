#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "protocol/messages/envelope.h"
#include "sandbox/answer.h"

namespace morvex::sandbox {

// Answers as they went out, to be given again to the same question: a client that is measured then waits for
// its connection and for nothing else.
class KeptAnswers {
 public:
  using Bytes = std::vector<std::uint8_t>;

  // Keeps up to so many bytes. What came when there was no room is not kept.
  explicit KeptAnswers(std::size_t limit) : limit_(limit) {}

  // The answer that make gives, or the one that a request has had which differs in its number alone. Must
  // outlive what it returns.
  template <class Make>
  std::unique_ptr<Answer> answer(const protocol::Request& request, bool legacy, Make make) {
    if (limit_ == 0) {
      return make();
    }
    std::string question = questionOf(request, legacy);
    if (auto known = find(question, request.requestId)) {
      return known;
    }
    return record(std::move(question), request.requestId, make());
  }

  // From here on each answer is made anew, and one that is still on its way is not kept.
  void forget();

 private:
  friend class RecordedAnswer;

  static std::string questionOf(const protocol::Request& request, bool legacy);
  std::unique_ptr<Answer> find(const std::string& question, std::int32_t requestId) const;
  std::unique_ptr<Answer> record(std::string question, std::int32_t requestId,
                                 std::unique_ptr<Answer> answer);
  bool hasRoomFor(std::size_t size) const { return size <= limit_ - held_; }
  void keep(const std::string& question, Bytes bytes);

  std::size_t limit_;
  std::size_t held_ = 0;
  std::uint64_t epoch_ = 0;  // how often everything was forgotten
  std::map<std::string, std::shared_ptr<const Bytes>>
      answers_;  // by question; without what stands ahead of it
};

}  // namespace morvex::sandbox
