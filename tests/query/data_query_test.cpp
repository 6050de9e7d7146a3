#include "query/data_query.h"

#include <gtest/gtest.h>

#include "foundation/errors.h"
#include "protocol/messages/object_tree.h"
#include "support/wire.h"

namespace {

template <class Query>
struct Plain : Query {
  using Query::Query;
};
const auto newGet = [] { return comquery::make<Plain<dataquery::GetData>>("1F", "tsdb", 1, 2, 3, 4, true); };
const auto newGetLast = [] { return comquery::make<Plain<dataquery::GetLastData>>("1F", "tsdb"); };
const auto newPut = [](auto intervals) {
  return comquery::make<Plain<dataquery::PutData>>("1F", "tsdb", 17, std::move(intervals));
};

dataquery::Intervals oneInterval() {
  dataquery::Intervals intervals;
  intervals.emplace_back().emplace().data.emplace<protocol::DataIntervalIncident>().text = "x";
  return intervals;
}

TEST(DataQuery, EncodesItsFields) {
  EXPECT_EQ(writtenHex(*newGet()->encode()),
            plainHex("A6 80 04 02 '1F' 04 04 'tsdb' 01 01 01 02 01 01 02 01 02 02 01 03 02 01 04 00 00"));
  EXPECT_EQ(writtenHex(*newGetLast()->encode()), plainHex("A8 80 04 02 '1F' 04 04 'tsdb' 00 00"));
  EXPECT_EQ(writtenHex(*newPut(oneInterval())->encode()),
            plainHex("A7 80 04 02 '1F' 04 04 'tsdb' 02 01 11 30 80"
                     "  30 80 A1 80 02 01 00 0A 00 04 01 'x' 00 00 00 00 00 00 00 00"));
}

TEST(DataQuery, MovesTheEntriesOut) {
  protocol::GetDataResp answer;
  answer.dataType = 5;
  answer.intervals = oneInterval();
  const auto* entry = answer.intervals.front().get();
  const auto get = newGet();
  get->intervals = oneInterval();
  get->decode(answer);
  EXPECT_EQ(get->dataType, 5);
  ASSERT_EQ(get->intervals.size(), 1U);
  EXPECT_EQ(get->intervals.front().get(), entry);
  EXPECT_TRUE(answer.intervals.empty());

  protocol::GetLastDataResp last;
  last.dataType = 6;
  entry = &last.data.emplace();
  const auto getLast = newGetLast();
  getLast->decode(last);
  EXPECT_EQ(getLast->dataType, 6);
  EXPECT_EQ(getLast->interval.get(), entry);
  EXPECT_FALSE(last.data);
}

// A refusal is kept as a code; a payload of another class is a fault of the server.
template <class Query>
void expectRefusals(Query& query, const char* wrongType) {
  protocol::ErrorResp refusal;
  refusal.code = 15;
  query.decode(refusal);
  EXPECT_EQ(query.errorCode(), 15U);
  protocol::SelectResp other;
  EXPECT_EQ(textOf<errors::bererror>([&] { query.decode(other); }), wrongType);
}

TEST(DataQuery, LeavesItsFieldsAloneWhenRefused) {
  const auto get = newGet();
  expectRefusals(*get, "Wrong type in GetData::decode.");
  EXPECT_EQ(get->dataType, -1);
  EXPECT_TRUE(get->intervals.empty());
  const auto getLast = newGetLast();
  expectRefusals(*getLast, "Wrong type in GetLastData::decode.");
  EXPECT_FALSE(getLast->interval);
  const auto put = newPut(dataquery::Intervals());
  expectRefusals(*put, "Wrong type in PutData::decode.");
  protocol::PutDataResp done;
  put->decode(done);
  EXPECT_EQ(put->errorCode(), 0U);
}

}  // namespace
