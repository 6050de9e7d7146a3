#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/text.h"
#include "protocol/facts.h"
#include "query/tql/parser.h"
#include "query/tql/property_codec.h"
#include "sandbox/handler.h"
#include "sandbox/sample_tree.h"
#include "support/reading.h"
#include "support/wire.h"

namespace morvex::sandbox {
namespace {

// A sandbox with the sample tree, two generated nodes and three counters beside the metrics, in 2023.
class Requests : public testing::Test {
 protected:
  // The answer, as the sandbox sends it.
  protocol::Response ask(protocol::Request request) {
    const auto answer = handler_.answer(request, false);
    MemoryIo memory;
    while (!answer->writePortion(memory, false)) {
    }
    const auto messages = Reading({memory.bytes}).messages();
    return dynamic_cast<const protocol::Response&>(*messages.at(0));
  }

  // The texts of a refusal, or the text of its code; "done" for any other answer.
  template <class Payload>
  std::string outcome(Payload payload) {
    protocol::Request request;
    request.req.emplace<Payload>() = std::move(payload);
    response_ = ask(std::move(request));
    const auto* error = response_.resp.as<protocol::ErrorResp>();
    if (error == nullptr) {
      return "done";
    }
    std::string text;
    for (const std::string& one : error->args) {
      text += (text.empty() ? "" : "; ") + one;
    }
    return text.empty() ? errorText(static_cast<std::uint32_t>(error->code)) : text;
  }

  Options options_ = [] {
    Options options;
    options.now = 1700000000;
    options.nodes = 2;
    options.metrics = 3;
    return options;
  }();
  Tree tree_ = makeSampleTree(options_);
  Activity activity_;
  Handler handler_{tree_, activity_, options_};
  protocol::Response response_;
};

TEST_F(Requests, UpdateTakesLegalValuesAlone) {
  const std::string siblings = "Property \"siblingName\": another child of the same object has this name";
  const ObjectIndex generated = static_cast<ObjectIndex>(tree_.size() - 1);
  struct Row {
    ObjectIndex object;
    const char* changes;  // as terms of a filter
    std::string expected;
  };
  for (const Row& row : std::vector<Row>{
           {0, "retries = 5", "done"},
           {0, "siblingName = \"top\"", "done"},
           {0, "notify = NOTIFY_None & reportFormat = RIF_Table & aliases = {}",
            "Property \"aliases\" is of another type"},
           {0, "dependencies = {\"2\", \"1\"} & contactId = \"3\"I & oid = \"1.3\"S", "done"},
           {0, "contactId = \"\"I", "done"},  // null
           {0, "active = bool_null", "Property \"active\" cannot be null"},
           {0, "nothing = 1", "Property \"nothing\" does not exist"},
           {0, "seriesIndex = 5T", "Property \"seriesIndex\" is constant"},
           {0, "serialNumber = 5B", "Property \"serialNumber\" is constant"},
           {0, "offset = +5", "Property \"offset\" is read-only"},
           {0, "status = ES_GOOD", "Property \"status\" is read-only"},
           {0, "retries = \"x\" & active = 1",
            "Property \"retries\" is of another type; Property \"active\" is of another type"},
           {0, "siblingName = \"\"", "Property \"siblingName\" cannot have this value"},
           {0, "contactId = \"ZZ\"I", "Property \"contactId\" cannot have this value"},
           {0, "dependencies = {\"2\", \"ZZ\"}", "Property \"dependencies\" cannot have this value"},
           {0, "oid = \"1..3\"S", "Property \"oid\" cannot have this value"},
           {0, "oid = \"1.\"S", "Property \"oid\" cannot have this value"},
           {generated, "siblingName = \"node000000\"", siblings},
           {generated, "siblingName = \"other\" & longLabel = \"Other\"", "done"},
           {generated, "number = 5", "Property \"number\" is constant"},
       }) {
    protocol::UpdateReq request;
    request.id = tree_.id(row.object);
    request.version = tree_.version(row.object);
    const auto changes = tql::parse(std::string(".{ ") + row.changes + " }");
    for (const auto& term : changes->filter) {
      request.properties.push_back(*term->prop);
    }
    EXPECT_EQ(outcome(request), row.expected) << row.changes;
    request.version += "0";
    EXPECT_EQ(outcome(request), "Someone else has updated the object") << row.changes;
  }
}

// Values of the right class, which no text of the query language gives.
TEST_F(Requests, UpdateRefusesIllegalNumbers) {
  protocol::UpdateReq request;
  request.id = tree_.id(Tree::kRoot);
  request.version = tree_.version(Tree::kRoot);
  auto& changes = request.properties;
  tql::encode(changes.emplace_back(), "notify", tql::kNotifyEnumeration, std::uint32_t{3});
  tql::encode(changes.emplace_back(), "reportFormat", tql::kReportEnumeration, std::uint32_t{16});
  tql::encode(changes.emplace_back(), "threshold", tql::kReal, 1.5);
  EXPECT_EQ(outcome(request),
            "Property \"notify\" cannot have this value; Property \"reportFormat\" cannot have this value; "
            "Property \"threshold\" cannot have this value");
  tql::encodeNull(request.properties.emplace_back(), "reset", tql::kAction);
  request.properties = {request.properties.back()};
  EXPECT_EQ(outcome(request), "done");
  EXPECT_EQ(activity_.actions, 1U);
}

TEST_F(Requests, CallsReadMetrics) {
  struct Row {
    std::int32_t method;
    const char* path;
    const char* expected;
  };
  for (const Row& row : std::vector<Row>{
           {protocol::method::kMetricValue, "sample.queues.queue2.limits.maximum", "done 1"},
           {protocol::method::kMetricValue, "sample.queues.queue2.consumers.low.taken", "done 1"},
           {protocol::method::kMetricValue, "requests.call.time", "done 5"},
           {protocol::method::kMetricValue, "sample.poll", "done 5"},
           {protocol::method::kMetricValue, "sample.wave", "done 1"},
           {protocol::method::kMetricValue, "server.version", "done 1"},
           {protocol::method::kMetricValue, "many.m2", "done 1"},
           {protocol::method::kMetricValue, "many.m3", "There is no metric \"many.m3\""},
           {protocol::method::kMetricValue, "many.m02", "There is no metric \"many.m02\""},
           {protocol::method::kMetricValue, "many.m2.x", "There is no metric \"many.m2.x\""},
           {protocol::method::kMetricValue, "sample.queues.queue3.length",
            "There is no metric \"sample.queues.queue3.length\""},
           {protocol::method::kMetricValue, "many", "\"many\" is not a metric"},
           {protocol::method::kMetricValue, "sample.queues.queue1",
            "\"sample.queues.queue1\" is not a metric"},
           {protocol::method::kMetricDescription, "sample.wave", "done wave"},
           {protocol::method::kMetricDescription, "many.m1", "done m1"},
           {4, "sample.wave", "There is no method 4"},
       }) {
    protocol::CallReq request;
    request.method = row.method;
    tql::encode(request.parameters.emplace_back(), "name", tql::kStringList,
                splitToList(row.path, '.', false));
    std::string result = outcome(request);
    if (const auto* answer = response_.resp.as<protocol::CallResp>()) {
      result += " " + (answer->objects.empty()
                           ? std::to_string(answer->properties.size())
                           : answer->objects[0]->properties[0].data.as<protocol::StringProp>()->value);
    }
    EXPECT_EQ(result, row.expected) << row.path;
  }
  protocol::CallReq request;
  request.method = protocol::method::kMetricValue;
  EXPECT_EQ(outcome(request), "Parameter \"name\" is missing");
  tql::encode(request.parameters.emplace_back(), "name", tql::kString, std::string("sample"));
  EXPECT_EQ(outcome(request), "Parameter \"name\" takes a list of strings");
  request.method = protocol::method::kMetricTree;
  EXPECT_EQ(outcome(request), "done");
  EXPECT_EQ(response_.resp.as<protocol::CallResp>()->objects.at(0)->children.back()->children.size(), 3U);
}

TEST_F(Requests, DataAreRefusedThatDoNotFit) {
  const std::string check = "7";  // of continuous values
  const std::string generated = tree_.id(static_cast<ObjectIndex>(tree_.size() - 1));
  struct Row {
    std::string object;
    const char* table;
    std::int32_t dataType;
    std::int32_t end;  // of an entry that begins at 100
    const char* expected;
  };
  for (const Row& row : std::vector<Row>{
           {check, protocol::kResultTable, 5, 200, "done"},
           {check, protocol::kResultTable, 3, 200, "The data type of the series is 5, not 3"},
           {check, protocol::kResultTable, 5, 99, "Entry 1 ends before it begins"},
           {check, protocol::kIncidentTable, 5, 200, "The object keeps no data in that table"},
           {check, "tables", 5, 200, "There is no table \"tables\""},
           {generated, protocol::kIncidentTable, 1, 200, "Entry 1 is of another kind than the series"},
           {"ZZ", protocol::kResultTable, 5, 200, "No object has the id \"ZZ\""},
       }) {
    protocol::PutDataReq request;
    request.objectId = row.object;
    request.tableName = row.table;
    request.dataType = row.dataType;
    auto& entry = request.intervals.emplace_back().data.emplace<protocol::DataIntervalContinuous>();
    entry.begin = 100;
    entry.end = row.end;
    EXPECT_EQ(outcome(std::move(request)), row.expected);
  }
  protocol::GetDataReq get;
  get.objectId = check;
  get.tableName = protocol::kResultTable;
  get.end = 150;
  EXPECT_EQ(outcome(get), "done");
  EXPECT_EQ(response_.resp.as<protocol::GetDataResp>()->intervals.size(), 1U);
  get.number1 = 1;
  EXPECT_EQ(outcome(get), "Data can be had as it is stored only");
  protocol::GetLastDataReq last;
  last.objectId = "1";
  last.tableName = protocol::kResultTable;
  EXPECT_EQ(outcome(last), "Pattern matched nothing");
  EXPECT_EQ(outcome(protocol::EraseReq()), "The request is not implemented");
  protocol::SelectReq select;
  select.startIds.push_back("1");
  select.pattern = tql::parse(".");
  select.options = protocol::kStayRegistered;
  EXPECT_EQ(outcome(std::move(select)), "The options of the query are not implemented");
}

}  // namespace
}  // namespace morvex::sandbox
