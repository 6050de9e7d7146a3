#include "sandbox/kept_answers.h"

#include <algorithm>
#include <utility>

namespace morvex::sandbox {

namespace {

constexpr std::size_t kPortion = 64 * 1024;

// The part of an answer that differs from another answer to the same question: the number of the request.
void writeHead(protocol::BasicIo& io, bool legacy, std::int32_t requestId) {
  ItemWriter to(io, legacy);
  to.openResponse(requestId);
  to.flush();
}

}  // namespace

class KeptAnswers::KnownAnswer final : public Answer {
 public:
  KnownAnswer(std::int32_t requestId, std::shared_ptr<const Bytes> bytes)
      : requestId_(requestId), bytes_(std::move(bytes)) {}

  bool writePortion(protocol::BasicIo& io, bool legacy) override {
    if (written_ == 0) {
      writeHead(io, legacy, requestId_);
    }
    const std::size_t count = std::min(kPortion, bytes_->size() - written_);
    io.write(bytes_->data() + written_, count);
    written_ += count;
    return written_ == bytes_->size();
  }

 private:
  std::int32_t requestId_;
  std::shared_ptr<const Bytes> bytes_;
  std::size_t written_ = 0;
};

// An answer on its way, of which a copy is made.
class KeptAnswers::RecordedAnswer final : public Answer {
 public:
  RecordedAnswer(KeptAnswers& keeper, std::string question, std::int32_t requestId,
                 std::unique_ptr<Answer> answer)
      : keeper_(keeper),
        epoch_(keeper.epoch_),
        question_(std::move(question)),
        requestId_(requestId),
        answer_(std::move(answer)) {}

  bool prepare(Turn& turn, bool legacy) override { return answer_->prepare(turn, legacy); }
  // Without the copy, which has a limit of its own.
  std::size_t size() const override { return answer_->size() + question_.size(); }

  bool writePortion(protocol::BasicIo& io, bool legacy) override {
    if (!wanted_) {
      return answer_->writePortion(io, legacy);
    }
    Collector collector(bytes_, &io);
    const bool last = answer_->writePortion(collector, legacy);
    wanted_ = epoch_ == keeper_.epoch_ && bytes_.size() <= keeper_.limit_ - keeper_.held_;
    if (!wanted_) {
      Bytes().swap(bytes_);
    } else if (last) {
      keep(legacy);
    }
    return last;
  }

 private:
  void keep(bool legacy) {
    Bytes head;
    Collector collector(head);
    writeHead(collector, legacy, requestId_);
    bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(head.size()));
    const std::size_t size = bytes_.size();
    if (keeper_.answers_.emplace(question_, std::make_shared<const Bytes>(std::move(bytes_))).second) {
      keeper_.held_ += size;
    }
  }

  KeptAnswers& keeper_;
  std::uint64_t epoch_;
  std::string question_;
  std::int32_t requestId_;
  std::unique_ptr<Answer> answer_;
  Bytes bytes_;
  bool wanted_ = true;
};

std::unique_ptr<Answer> KeptAnswers::answer(const protocol::Request& request, bool legacy,
                                            const std::function<std::unique_ptr<Answer>()>& make) {
  if (limit_ == 0) {
    return make();
  }
  Bytes bytes;
  Collector collector(bytes);
  request.req->write(collector, legacy);
  std::string question(bytes.begin(), bytes.end());
  if (const auto found = answers_.find(question); found != answers_.end()) {
    return std::make_unique<KnownAnswer>(request.requestId, found->second);
  }
  return std::make_unique<RecordedAnswer>(*this, std::move(question), request.requestId, make());
}

void KeptAnswers::forget() {
  answers_.clear();
  held_ = 0;
  ++epoch_;
}

}  // namespace morvex::sandbox
