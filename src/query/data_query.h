#pragma once

#include <cstdint>
#include <string>

#include "protocol/messages/time_series.h"
#include "query/query.h"

// Requests on the time series of an object, addressed by the object's id and the name of a table
// (protocol/facts.h). Each is one request and one answer,
// and is used once. A refusal is an error code, as for all requests. The contents of an entry stand in
// protocol/messages/time_series.h.
namespace morvex::dataquery {

using Intervals = protocol::ListOfDataInterval;

// Reads the entries from start to end, in seconds since 1970. number1, from 0 to 2000, number2 and flag go to
// the server as they are; the commands of the tool give 0, 0 and true.
class GetData : public comquery::Exchange<protocol::GetDataReq, protocol::GetDataResp> {
 public:
  GetData(std::string objectId, std::string tableName, std::int32_t start, std::int32_t end,
          std::int32_t number1, std::int32_t number2, bool flag);

  std::int32_t dataType = -1;  // the kind of series, from the answer: 0 to 17, as PutData wants it
  Intervals intervals;         // the answer; empty after a refusal

 protected:
  ~GetData() override = default;
  void take(protocol::GetDataResp& answer) override;
};

// Reads the newest entry.
class GetLastData : public comquery::Exchange<protocol::GetLastDataReq, protocol::GetLastDataResp> {
 public:
  GetLastData(std::string objectId, std::string tableName);

  std::int32_t dataType = -1;
  protocol::Owned<protocol::DataInterval> interval;  // null until answered, and after a refusal

 protected:
  ~GetLastData() override = default;
  void take(protocol::GetLastDataResp& answer) override;
};

// Stores entries of a kind that GetData reported for the object.
class PutData : public comquery::Exchange<protocol::PutDataReq, protocol::PutDataResp> {
 public:
  PutData(std::string objectId, std::string tableName, std::int32_t dataType, Intervals intervals);

 protected:
  ~PutData() override = default;
  void take(protocol::PutDataResp&) override {}
};

}  // namespace morvex::dataquery
