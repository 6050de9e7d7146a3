#include "query/data_query.h"

#include <utility>

namespace morvex::dataquery {

GetData::GetData(std::string objectId, std::string tableName, std::int32_t start, std::int32_t end,
                 std::int32_t number1, std::int32_t number2, bool flag)
    : objectId_(std::move(objectId)),
      tableName_(std::move(tableName)),
      start_(start),
      end_(end),
      number1_(number1),
      number2_(number2),
      flag_(flag) {}

std::unique_ptr<protocol::BerValue> GetData::encode() {
  auto request = std::make_unique<protocol::GetDataReq>();
  request->objectId = objectId_;
  request->tableName = tableName_;
  request->flag = flag_;
  request->start = start_;
  request->end = end_;
  request->number1 = number1_;
  request->number2 = number2_;
  return request;
}

void GetData::decode(protocol::BerValue& response) {
  const auto take = [this](protocol::GetDataResp& answer) {
    dataType = answer.dataType;
    intervals = std::exchange(answer.intervals, {});
  };
  decodeAnswer<protocol::GetDataResp>(response, "Wrong type in GetData::decode.", take);
}

GetLastData::GetLastData(std::string objectId, std::string tableName)
    : objectId_(std::move(objectId)), tableName_(std::move(tableName)) {}

std::unique_ptr<protocol::BerValue> GetLastData::encode() {
  auto request = std::make_unique<protocol::GetLastDataReq>();
  request->objectId = objectId_;
  request->tableName = tableName_;
  return request;
}

void GetLastData::decode(protocol::BerValue& response) {
  const auto take = [this](protocol::GetLastDataResp& answer) {
    dataType = answer.dataType;
    interval = std::move(answer.data);
  };
  decodeAnswer<protocol::GetLastDataResp>(response, "Wrong type in GetLastData::decode.", take);
}

PutData::PutData(std::string objectId, std::string tableName, std::int32_t dataType, Intervals intervals)
    : objectId_(std::move(objectId)),
      tableName_(std::move(tableName)),
      dataType_(dataType),
      intervals_(std::move(intervals)) {}

std::unique_ptr<protocol::BerValue> PutData::encode() {
  auto request = std::make_unique<protocol::PutDataReq>();
  request->objectId = objectId_;
  request->tableName = tableName_;
  request->dataType = dataType_;
  request->intervals = std::move(intervals_);
  return request;
}

void PutData::decode(protocol::BerValue& response) {
  const auto take = [](protocol::PutDataResp&) {};
  decodeAnswer<protocol::PutDataResp>(response, "Wrong type in PutData::decode.", take);
}

}  // namespace morvex::dataquery
