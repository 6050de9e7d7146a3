#include "sandbox/kept_answers.h"

#include <algorithm>

namespace morvex::sandbox {
namespace {

constexpr std::size_t kPortion = 64 * 1024;

// Collects what is written, and passes it on if there is a stream behind it.
class Collector final : public protocol::BasicIo {
 public:
  explicit Collector(KeptAnswers::Bytes& bytes, protocol::BasicIo* behind = nullptr)
      : bytes_(bytes), behind_(behind) {}

  void write(const std::uint8_t* bytes, std::size_t count) override {
    bytes_.insert(bytes_.end(), bytes, bytes + count);
    if (behind_ != nullptr) {
      behind_->write(bytes, count);
    }
  }
  void flush() override {}

 private:
  KeptAnswers::Bytes& bytes_;
  protocol::BasicIo* behind_;
};

// What differs between two answers to the same question: the number of the request.
void writeHead(protocol::BasicIo& io, bool legacy, std::int32_t requestId) {
  ItemWriter to(io, legacy);
  to.open(protocol::Response::kSchema.tag);
  to.number(static_cast<std::uint32_t>(requestId));
  to.flush();
}

class KnownAnswer final : public Answer {
 public:
  KnownAnswer(std::int32_t requestId, std::shared_ptr<const KeptAnswers::Bytes> bytes)
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
  std::shared_ptr<const KeptAnswers::Bytes> bytes_;
  std::size_t written_ = 0;
};

}  // namespace

// An answer on its way, of which a copy is made.
class RecordedAnswer final : public Answer {
 public:
  RecordedAnswer(KeptAnswers& keeper, std::string question, std::int32_t requestId,
                 std::unique_ptr<Answer> answer)
      : keeper_(keeper),
        epoch_(keeper.epoch_),
        question_(std::move(question)),
        requestId_(requestId),
        answer_(std::move(answer)) {}

  bool writePortion(protocol::BasicIo& io, bool legacy) override {
    if (!wanted_) {
      return answer_->writePortion(io, legacy);
    }
    Collector collector(bytes_, &io);
    const bool last = answer_->writePortion(collector, legacy);
    wanted_ = epoch_ == keeper_.epoch_ && keeper_.hasRoomFor(bytes_.size());
    if (!wanted_) {
      KeptAnswers::Bytes().swap(bytes_);
    } else if (last) {
      keeper_.keep(question_, withoutHead(legacy));
    }
    return last;
  }

 private:
  KeptAnswers::Bytes withoutHead(bool legacy) const {
    KeptAnswers::Bytes head;
    Collector collector(head);
    writeHead(collector, legacy, requestId_);
    return {bytes_.begin() + static_cast<std::ptrdiff_t>(head.size()), bytes_.end()};
  }

  KeptAnswers& keeper_;
  std::uint64_t epoch_;
  std::string question_;
  std::int32_t requestId_;
  std::unique_ptr<Answer> answer_;
  KeptAnswers::Bytes bytes_;
  bool wanted_ = true;
};

void KeptAnswers::forget() {
  answers_.clear();
  held_ = 0;
  ++epoch_;
}

// The answer is of the same tag set as the request, so the tag set belongs to the question.
std::string KeptAnswers::questionOf(const protocol::Request& request, bool legacy) {
  Bytes bytes;
  Collector collector(bytes);
  request.req->write(collector, legacy);
  return {bytes.begin(), bytes.end()};
}

std::unique_ptr<Answer> KeptAnswers::find(const std::string& question, std::int32_t requestId) const {
  const auto found = answers_.find(question);
  return found == answers_.end() ? nullptr : std::make_unique<KnownAnswer>(requestId, found->second);
}

std::unique_ptr<Answer> KeptAnswers::record(std::string question, std::int32_t requestId,
                                            std::unique_ptr<Answer> answer) {
  return std::make_unique<RecordedAnswer>(*this, std::move(question), requestId, std::move(answer));
}

void KeptAnswers::keep(const std::string& question, Bytes bytes) {
  const std::size_t size = bytes.size();
  if (answers_.emplace(question, std::make_shared<const Bytes>(std::move(bytes))).second) {
    held_ += size;
  }
}

}  // namespace morvex::sandbox
