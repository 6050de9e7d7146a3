#include "query/data_query.h"

#include <utility>

namespace morvex::dataquery {

GetData::GetData(std::string objectId, std::string tableName, std::int32_t start, std::int32_t end,
                 std::int32_t number1, std::int32_t number2, bool flag)
    : Exchange("Wrong type in GetData::decode.") {
  request_->objectId = std::move(objectId);
  request_->tableName = std::move(tableName);
  request_->flag = flag;
  request_->start = start;
  request_->end = end;
  request_->number1 = number1;
  request_->number2 = number2;
}

void GetData::take(protocol::GetDataResp& answer) {
  dataType = answer.dataType;
  intervals = std::exchange(answer.intervals, {});
}

GetLastData::GetLastData(std::string objectId, std::string tableName)
    : Exchange("Wrong type in GetLastData::decode.") {
  request_->objectId = std::move(objectId);
  request_->tableName = std::move(tableName);
}

void GetLastData::take(protocol::GetLastDataResp& answer) {
  dataType = answer.dataType;
  interval = std::move(answer.data);
}

PutData::PutData(std::string objectId, std::string tableName, std::int32_t dataType, Intervals intervals)
    : Exchange("Wrong type in PutData::decode.") {
  request_->objectId = std::move(objectId);
  request_->tableName = std::move(tableName);
  request_->dataType = dataType;
  request_->intervals = std::move(intervals);
}

}  // namespace morvex::dataquery
