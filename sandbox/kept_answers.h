#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "protocol/messages/envelope.h"
#include "sandbox/answer.h"

namespace morvex::sandbox {

// Answers as they went out, to be given again to the same question. A client whose speed is measured then
// waits for its connection only.
class KeptAnswers {
 public:
  // Keeps up to so many bytes. An answer for which there is no room is not kept.
  explicit KeptAnswers(std::size_t limit) : limit_(limit) {}

  // The answer that make gives, or the one that was kept for a request that differs in its number only. Must
  // outlive what it returns.
  std::unique_ptr<Answer> answer(const protocol::Request& request, bool legacy,
                                 const std::function<std::unique_ptr<Answer>()>& make);

  // From here on each answer is made anew, and one that is still on its way is not kept.
  void forget();

 private:
  class KnownAnswer;
  class RecordedAnswer;

  std::size_t limit_;
  std::size_t held_ = 0;
  std::uint64_t epoch_ = 0;  // how often everything was forgotten
  // By question, in the tag set of its client. An answer starts behind the number of its request.
  std::map<std::string, std::shared_ptr<const Bytes>> answers_;
};

}  // namespace morvex::sandbox
