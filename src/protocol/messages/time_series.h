#pragma once

#include <cstdint>
#include <string>

#include "protocol/field.h"
#include "protocol/messages/lists.h"

// The messages that read and write the time series which the server keeps for an object, and the report of
// a check. Times are in seconds since 1970. Values are in the check's own unit. Members named by kind and
// position (real2, uint5) are ones whose meaning only other programs know.
namespace morvex::protocol {

// Severity and status travel as bare numbers; their values are the server's.
enum class Severity : std::int32_t {};
enum class CheckStatus : std::int32_t {};

struct ListOfCheckStatus : ListOf<CheckStatus> {
  using ListOf::ListOf;
};

struct DataIntervalRawElement final : Message<DataIntervalRawElement> {
  std::int32_t begin = 0;
  std::int32_t end = 0;
  double real2 = 0;
  double real3 = 0;
  double real4 = 0;
  std::uint32_t uint5 = 0;
  std::uint32_t uint6 = 0;
  static constexpr Field kFields[] = {
      field<&Self::begin>("begin"), field<&Self::end>("end"),     field<&Self::real2>("real2"),
      field<&Self::real3>("real3"), field<&Self::real4>("real4"), field<&Self::uint5>("uint5"),
      field<&Self::uint6>("uint6"),
  };
  static constexpr Schema kSchema{
      .tag = sequence("BE_DATA_INTERVAL_RAW_ELEMENT"), .fields = kFields, .required = 3};
};

struct ListOfDataIntervalRawElement : ListOf<Owned<DataIntervalRawElement>> {
  using ListOf::ListOf;
};

struct DataIntervalRawDEPRECATED final : Message<DataIntervalRawDEPRECATED> {
  ListOfDataIntervalRawElement elements;
  static constexpr Field kFields[] = {
      field<&Self::elements>("elements"),
  };
  static constexpr Schema kSchema{.tag = alternative(0), .fields = kFields};
};

// A line of an incident log.
struct DataIntervalIncident final : Message<DataIntervalIncident> {
  std::int32_t time = 0;
  Severity severity{};
  std::string text;
  static constexpr Field kFields[] = {
      field<&Self::time>("time"),
      field<&Self::severity>("severity"),
      field<&Self::text>("text", upTo(65536)),
  };
  static constexpr Schema kSchema{.tag = alternative(1), .fields = kFields};
};

struct DataIntervalContinuousDEPRECATED final : Message<DataIntervalContinuousDEPRECATED> {
  std::int32_t begin = 0;
  std::int32_t end = 0;
  double real2 = 0;
  double real3 = 0;
  ListOfReal values;
  static constexpr Field kFields[] = {
      field<&Self::begin>("begin"), field<&Self::end>("end"),       field<&Self::real2>("real2"),
      field<&Self::real3>("real3"), field<&Self::values>("values"),
  };
  static constexpr Schema kSchema{.tag = alternative(2), .fields = kFields, .required = 3};
};

// A span of time and what was measured in it: the largest value, the mean and the smallest, and how many good
// and bad measurements there were.
template <class T>
struct Measured : Message<T> {
  std::int32_t begin = 0;
  std::int32_t end = 0;
  double max = 0;
  double avg = 0;
  double min = 0;
  std::uint32_t ngood = 0;
  std::uint32_t nbad = 0;
  static constexpr Field kFields[] = {
      field<&Measured::begin>("begin"), field<&Measured::end>("end"), field<&Measured::max>("max"),
      field<&Measured::avg>("avg"),     field<&Measured::min>("min"), field<&Measured::ngood>("ngood"),
      field<&Measured::nbad>("nbad"),
  };
};

struct DataIntervalSawtooth final : Measured<DataIntervalSawtooth> {
  static constexpr Schema kSchema{.tag = alternative(3), .fields = kFields, .required = 3};
};

// A span of time and the states that were seen in it.
struct DataIntervalEnum final : Message<DataIntervalEnum> {
  std::int32_t begin = 0;
  std::int32_t end = 0;
  std::uint32_t mask = 0;
  std::uint32_t ngood = 0;
  std::uint32_t nbad = 0;
  static constexpr Field kFields[] = {
      field<&Self::begin>("begin"), field<&Self::end>("end"),   field<&Self::mask>("mask"),
      field<&Self::ngood>("ngood"), field<&Self::nbad>("nbad"),
  };
  static constexpr Schema kSchema{.tag = alternative(4), .fields = kFields, .required = 3};
};

struct DataIntervalContinuous final : Measured<DataIntervalContinuous> {
  static constexpr Schema kSchema{.tag = alternative(5), .fields = kFields, .required = 3};
};

// One entry of a series.
struct DataInterval final : Message<DataInterval> {
  OneOfInPlace<DataIntervalRawDEPRECATED, DataIntervalIncident, DataIntervalContinuousDEPRECATED,
               DataIntervalSawtooth, DataIntervalEnum, DataIntervalContinuous>
      data;
  static constexpr Field kFields[] = {
      field<&Self::data>("data"),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_DATA_INTERVAL"), .fields = kFields};
};

struct ListOfDataInterval : LongListOf<DataInterval> {
  using LongListOf::LongListOf;
};

struct GetDataReq final : Message<GetDataReq> {
  std::string objectId;
  std::string tableName;
  bool flag = false;
  std::int32_t start = 0;
  std::int32_t end = 0;
  std::int32_t number1 = 0;
  std::int32_t number2 = 0;
  static constexpr Field kFields[] = {
      field<&Self::objectId>("objectId", upTo(32)),
      field<&Self::tableName>("tableName", upTo(16)),
      field<&Self::flag>("flag"),
      field<&Self::start>("start"),
      field<&Self::end>("end"),
      field<&Self::number1>("number1", between(0, 2000)),
      field<&Self::number2>("number2"),
  };
  static constexpr Schema kSchema{.tag = alternative(6), .fields = kFields, .required = 6};
};

struct GetDataResp final : Message<GetDataResp> {
  std::int32_t dataType = 0;
  ListOfDataInterval intervals;
  static constexpr Field kFields[] = {
      field<&Self::dataType>("dataType", between(0, 17)),
      field<&Self::intervals>("intervals"),
  };
  static constexpr Schema kSchema{.tag = alternative(6), .fields = kFields};
};

struct GetLastDataReq final : Message<GetLastDataReq> {
  std::string objectId;
  std::string tableName;
  static constexpr Field kFields[] = {
      field<&Self::objectId>("objectId", upTo(32)),
      field<&Self::tableName>("tableName", upTo(16)),
  };
  static constexpr Schema kSchema{.tag = alternative(8), .fields = kFields};
};

struct GetLastDataResp final : Message<GetLastDataResp> {
  std::int32_t dataType = 0;
  Owned<DataInterval> data;
  static constexpr Field kFields[] = {
      field<&Self::dataType>("dataType", between(0, 17)),
      field<&Self::data>("data"),
  };
  static constexpr Schema kSchema{.tag = alternative(9), .fields = kFields};
};

struct PutDataReq final : Message<PutDataReq> {
  std::string objectId;
  std::string tableName;
  std::int32_t dataType = 0;
  ListOfDataInterval intervals;
  static constexpr Field kFields[] = {
      field<&Self::objectId>("objectId", upTo(32)),
      field<&Self::tableName>("tableName", upTo(16)),
      field<&Self::dataType>("dataType", between(0, 17)),
      field<&Self::intervals>("intervals"),
  };
  static constexpr Schema kSchema{.tag = alternative(7), .fields = kFields};
};

struct PutDataResp final : Message<PutDataResp> {
  static constexpr Schema kSchema{.tag = alternative(7)};
};

struct ForgetReq final : Message<ForgetReq> {
  std::int32_t requestId = 0;
  static constexpr Field kFields[] = {
      field<&Self::requestId>("requestId", between(0, 2147483647)),
  };
  static constexpr Schema kSchema{.tag = alternative(5), .fields = kFields};
};

struct ForgetResp final : Message<ForgetResp> {
  static constexpr Schema kSchema{.tag = alternative(5)};
};

struct CheckResult final : Message<CheckResult> {
  std::int32_t int0 = 0;
  std::string text1;
  CheckStatus status{};
  ListOfString128 texts;
  PlainValue value;
  std::string text5;
  static constexpr Field kFields[] = {
      field<&Self::int0>("int0"),     field<&Self::text1>("text1", upTo(128)),
      field<&Self::status>("status"), field<&Self::texts>("texts"),
      field<&Self::value>("value"),   field<&Self::text5>("text5", upTo(32)),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_CHECK_RESULT"), .fields = kFields, .required = 5};
};

struct ListOfCheckResult : ListOf<Owned<CheckResult>> {
  using ListOf::ListOf;
};

}  // namespace morvex::protocol
