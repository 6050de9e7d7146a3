#include "query/select.h"

#include <utility>

#include "foundation/errors.h"
#include "protocol/facts.h"
#include "query/tql/parser.h"
#include "session/connection.h"

namespace morvex::tqlquery {
Select::Select(std::string startId, std::string expression, std::uint32_t options)
    : pattern_(tql::parse(expression)), options_(options), expression_(std::move(expression)) {
  startIds_.push_back(std::move(startId));
}

const Result* Select::find_result_opt(const std::string& id) const {
  if (state() != State::answered) {
    throw errors::selecterror("find_result_opt() invoked before await() for query \"" + expression_ + "\"");
  }
  const Result* found = nullptr;
  for (const protocol::Owned<Result>& object : results_) {
    if (object->id == id) {
      found = object.get();  // of two with one id the last counts
    }
  }
  return found;
}

std::string Select::describe() const {
  std::string text = "[";
  for (const std::string& id : startIds_) {
    text.append(text.size() > 1 ? ", \"" : "\"").append(id).append("\"");
  }
  return text + "] " + expression_;
}

std::unique_ptr<protocol::BerValue> Select::encode() {
  auto request = std::make_unique<protocol::SelectReq>();
  request->startIds.assign(startIds_.begin(), startIds_.end());
  request->pattern = std::move(pattern_);
  request->options = options_;
  return request;
}

void Select::decode(protocol::BerValue& response) {
  const auto take = [this](protocol::SelectResp& answer) { results_ = std::exchange(answer.objects, {}); };
  decodeAnswer<protocol::SelectResp>(response, "Wrong type in Select::decode.", take);
}

void Select::finished(Connection& connection) {
  if ((options_ & protocol::kStayRegistered) == 0) {
    Query::finished(connection);
  }
}

}  // namespace morvex::tqlquery
