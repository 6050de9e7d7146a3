#pragma once

#include <vector>

#include "sandbox/answer.h"
#include "sandbox/object_nesting.h"
#include "sandbox/selection.h"

namespace morvex::sandbox {

// A SelectResp. Objects are written as they are when their turn comes. The tree must outlive the answer.
class SelectAnswer final : public Answer {
 public:
  SelectAnswer(std::int32_t requestId, const Tree& tree, Pattern pattern, std::vector<Match> matches);
  bool writePortion(protocol::BasicIo& io, bool legacy) override;

 private:
  void writeObject(ItemWriter& to, const Match& match);

  std::int32_t requestId_;
  const Tree& tree_;
  Pattern pattern_;
  std::vector<Match> matches_;
  std::size_t next_ = 0;
  ObjectNesting nesting_;
  protocol::Property scratch_;
};

}  // namespace morvex::sandbox
