#include "query/select.h"

#include <utility>

#include "foundation/errors.h"
#include "protocol/facts.h"
#include "query/tql/parser.h"
#include "session/connection.h"

namespace morvex::tqlquery {
Select::Select(std::string startId, std::string expression, std::uint32_t options)
    : Exchange("Wrong type in Select::decode."),
      startId_(std::move(startId)),
      expression_(std::move(expression)),
      options_(options) {
  request_->startIds.push_back(startId_);
  request_->pattern = tql::parse(expression_);
  request_->options = options;
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

std::string Select::describe() const { return "[\"" + startId_ + "\"] " + expression_; }

void Select::take(protocol::SelectResp& answer) { results_ = std::exchange(answer.objects, {}); }

void Select::finished(Connection& connection) {
  if ((options_ & protocol::kStayRegistered) == 0) {
    Query::finished(connection);
  }
}

}  // namespace morvex::tqlquery
