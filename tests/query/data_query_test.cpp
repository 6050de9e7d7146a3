#include "query/data_query.h"

#include <gtest/gtest.h>

#include "protocol/messages/object_tree.h"
#include "support/wire.h"

using namespace morvex;

namespace {

template <class Query>
struct Plain : Query {
  using Query::Query;
};

TEST(DataQuery, EncodesItsFields) {
  const auto get = comquery::make<Plain<dataquery::GetData>>("1F", "tsdb", 1, 2, 3, 4, true);
  EXPECT_EQ(writtenHex(*get->encode()),
            plainHex("A6 80 04 02 '1F' 04 04 'tsdb' 01 01 01 02 01 01 02 01 02 02 01 03 02 01 04 00 00"));
  dataquery::Intervals intervals;
  intervals.emplace_back().data.emplace<protocol::DataIntervalIncident>().text = "x";
  const auto put = comquery::make<Plain<dataquery::PutData>>("1F", "tsdb", 17, std::move(intervals));
  EXPECT_EQ(writtenHex(*put->encode()),
            plainHex("A7 80 04 02 '1F' 04 04 'tsdb' 02 01 11 30 80"
                     "  30 80 A1 80 02 01 00 0A 00 04 01 'x' 00 00 00 00 00 00 00 00"));
}

TEST(DataQuery, TellsWhetherTheServerTookTheData) {
  const auto put = comquery::make<Plain<dataquery::PutData>>("1F", "tsdb", 17, dataquery::Intervals());
  protocol::ErrorResp refusal;
  refusal.code = 15;
  put->decode(refusal);
  EXPECT_EQ(put->errorCode(), 15U);
  protocol::SelectResp other;
  EXPECT_EQ(textOf<errors::bererror>([&] { put->decode(other); }), "Wrong type in PutData::decode.");
  protocol::PutDataResp done;
  put->decode(done);
  EXPECT_EQ(put->errorCode(), 0U);
}

}  // namespace
