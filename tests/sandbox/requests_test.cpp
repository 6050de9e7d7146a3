#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "foundation/text.h"
#include "protocol/facts.h"
#include "query/tql/parser.h"
#include "query/tql/property_codec.h"
#include "sandbox/handler.h"
#include "sandbox/sample_tree.h"
#include "support/reading.h"

namespace morvex::sandbox {
namespace {

// "root(a b(m))": objects by their first property, and those below each in parentheses.
std::string namesOf(const protocol::ListOfObject& objects) {
  std::string text;
  for (const auto& object : objects) {
    const auto* name = object->properties.at(0).data.as<protocol::StringProp>();
    text += (text.empty() ? "" : " ") + name->value;
    text += object->children.empty() ? "" : "(" + namesOf(object->children) + ")";
  }
  return text;
}

// A sandbox with this tree, in 2023.
struct Server {
  explicit Server(Tree (*makeTree)(const Options&)) : tree(makeTree(options)) {}

  // The texts of a refusal, or the text of its code; the names of objects; "done" for any other answer.
  template <class Payload>
  std::string outcome(Payload payload) {
    protocol::Request request;
    request.req.emplace<Payload>() = std::move(payload);
    const auto answer = handler.answer(request, false);
    MemoryIo memory;
    for (Turn over{Time()}; !answer->prepare(over, false);) {  // goes on for a single step each time
    }
    while (!answer->writePortion(memory, false)) {
    }
    const auto messages = decodedInPieces(memory.bytes, SIZE_MAX, false, protocol::guiProtocol::instance());
    const auto& response = dynamic_cast<const protocol::Response&>(*messages.at(0)).resp;
    if (const auto* selected = response.as<protocol::SelectResp>()) {
      return namesOf(selected->objects);
    }
    if (const auto* data = response.as<protocol::GetDataResp>()) {
      return std::to_string(data->intervals.size()) + " entries";
    }
    const auto* error = response.as<protocol::ErrorResp>();
    std::string text;
    for (const std::string& one : error == nullptr ? protocol::ListOfString1024{"done"} : error->args) {
      text += (text.empty() ? "" : "; ") + one;
    }
    return text.empty() ? errorText(static_cast<std::uint32_t>(error->code)) : text;
  }

  protocol::UpdateReq update(ObjectIndex object) const {
    protocol::UpdateReq request;
    request.id = tree.id(object);
    request.version = tree.version(object);
    return request;
  }

  // The query from the root down.
  protocol::SelectReq query(const std::string& expression) const {
    protocol::SelectReq request;
    request.startIds.push_back(tree.id(Tree::kRoot));
    request.pattern = tql::parse(expression);
    return request;
  }

  Options options{.nodes = 2, .metrics = 3, .now = 1700000000};
  Tree tree;
  Activity activity;
  Handler handler{tree, activity, options};
  const ObjectIndex last = static_cast<ObjectIndex>(tree.size() - 1);  // of the sample tree: a generated node
};

// Domains a and b; in each the nodes m and n; in each node the checks x and y, y inactive.
Tree smallTree(const Options&) {
  Tree tree;
  const auto add = [&](ObjectIndex parent, ObjectClass objectClass, const std::string& name) {
    PropertyList properties(2);
    tql::encode(properties[0], "siblingName", tql::kString, name);
    tql::encode(properties[1], "active", tql::kBoolean, name != "y");
    return tree.add(parent, objectClass, std::move(properties));
  };
  const ObjectIndex root = add(kNoObject, ObjectClass::domain, "root");
  for (const std::string domainName : {"a", "b"}) {
    const ObjectIndex domain = add(root, ObjectClass::domain, domainName);
    for (const std::string nodeName : {"m", "n"}) {
      const ObjectIndex node = add(domain, ObjectClass::node, nodeName);
      add(node, ObjectClass::check, "x");
      add(node, ObjectClass::check, "y");
    }
  }
  return tree;
}

const char* const kNothing = "Pattern matched nothing";
using Rows = std::vector<std::pair<std::string, std::string>>;

TEST(Selection, GivesTheTreeThatMatched) {
  Server server(smallTree);
  const char* const all = "root(a(m(x y) n(x y)) b(m(x y) n(x y)))";
  for (auto [expression, expected] : Rows{
           {"Domain@", "root"},
           {"Node@", kNothing},
           {"Nothing@", kNothing},
           {". @ > .@", "root(a b)"},
           {"Domain*@", "root(a b)"},
           {".*@", all},
           {"Domain*@ > Node@ { siblingName = \"m\" }", "root(a(m) b(m))"},
           {"Domain*@ > Node@ > Check@ { active = true }", "root(a(m(x) n(x)) b(m(x) n(x)))"},
           {"Domain*@ > Node@ > Check@ { siblingName = \"z\" }", kNothing},
           {"Domain*@ > Node$@ > Check@ { siblingName = \"z\" }", "root(a(m n) b(m n))"},
           {"Domain@ > Domain@ > Node=1@", "root(a(m) b(m))"},
           {"Domain@ > Domain=1@ > Node=1@ > Check@", "root(a(m(x y)))"},
           {"Domain@ > Domain=0@", kNothing},
           {"Domain*@ > ( Node@ { siblingName = \"m\" } : Node@ { siblingName = \"n\" } )",
            "root(a(m n) b(m n))"},
           {"Domain*@ > ( Node@ { siblingName = \"z\" } : Node@ { siblingName = \"n\" } )", kNothing},
           {"Domain*@ > ( Node@ { siblingName = \"z\" } | Node@ { siblingName = \"n\" } )",
            "root(a(n) b(n))"},
           {"Domain@ > Domain@ { id = \"2\" }", "root(a)"},
           {"Domain@ > Domain@ { id != \"2\" }", "root(b)"},
           {"Domain@ > Domain@ { id = \"2F\" }", kNothing},
           {"Domain@ > Domain@ { id = \"2\"S }", "Property \"id\" is of another type than the constant"},
           {"Domain@ > Domain@ { nothing = 1 }", kNothing},
           {"Domain#@", "The modifiers # and - are not implemented"},
       }) {
    for (std::size_t at = 0; (at = expression.find('@', at)) != std::string::npos;) {
      expression.replace(at, 1, "[siblingName]");
    }
    EXPECT_EQ(server.outcome(server.query(expression)), expected) << expression;
  }
  std::string steps = ".*$[siblingName]";
  for (int step = 1; step < 64; ++step) {
    steps += "> .*$[siblingName]";
  }
  EXPECT_EQ(server.outcome(server.query(steps)), all);
  EXPECT_EQ(server.outcome(server.query(steps + "> .")), "A pattern may have 64 steps at most");
  protocol::SelectReq select = server.query(".");
  select.options = protocol::kStayRegistered;
  EXPECT_EQ(server.outcome(std::move(select)), "The options of the query are not implemented");
  EXPECT_EQ(server.activity.of(RequestKind::select).errors, 11U);
}

// The sample root has a property of every type.
TEST(Selection, ComparesByTheRulesOfTheType) {
  Server server(makeSampleTree);
  const auto query = [&](const std::string& term) {
    return server.query("Domain[longLabel] {" + term.substr(term.find_first_not_of(" \n")) + "}");
  };
  for (const std::string& term :
       splitToList(R"(retries = 4294967295; retries > -1; offset < 0; threshold > 0; created = 1048548303;
           gid = 168496141; octets > 4294967296B; octets < 340282366920938463463374607431768211456B;
           balance < -1; serialNumber = 1512366075204170929049582354406559215B;
           serialNumber < 1512366075204170929049582354406559216B;
           serialNumber > 1512366075204170929049582354406559214B; serialNumber > 5; longLabel = "Root domain";
           longLabel < "root domain"; oid > "1.3.6.1.2.1.1.2.9"S; oid < "1.3.6.1.2.1.1.10.0"S;
           contactId = "2A"I; contactId != "2B"I; active = true; status = ES_WARN; status != ES_GOOD;
           null6 < "a"; null1 = bool_null; longLabel ~= "root DOMAIN"; longLabel ~= "r??t*";
           longLabel ~= "*o*n"; longLabel ~= "**"; longLabel ~= "Root domain*"; longLabel !~ "*x*";
           longLabel isubstr "T DOM"; longLabel isubstr ""; null6 !~ "*"; contactId in {"1", "2A"};
           dependencies intersects {"A", "ZZ"}; dependencies subsetof {"2", "A", "1F", "ZZ"};
           noDependencies subsetof {}; dependencies supersetof {"A", "2"}; aliases intersects {"alpha"})",
                   ';', false)) {
    EXPECT_EQ(server.outcome(query(term)), "Root domain") << term;
  }
  for (const std::string& term :
       splitToList(R"(retries <= +7; threshold >= 1; seriesIndex != 1017T; active != true; null6 = "";
           longLabel ~= "root"; longLabel ~= "*o*t"; longLabel ~= "Root domain?"; longLabel !~ "root*";
           longLabel isubstr "doom"; null6 ~= "*"; null6 isubstr ""; contactId in {"2"};
           dependencies intersects {"ZZ"}; dependencies subsetof {"2", "A"};
           dependencies supersetof {"A", "ZZ"}; null8 supersetof {})",
                   ';', false)) {
    EXPECT_EQ(server.outcome(query(term)), kNothing) << term;
  }
  for (const auto& [term, reason] : Rows{
           {"active > bool_null", "\"active\" is not ordered"},
           {"contactId < \"2A\"I", "\"contactId\" is not ordered"},
           {"retries = \"5\"", "\"retries\" is of another type than the constant"},
           {"oid = \"1.3\"", "\"oid\" is of another type than the constant"},
           {"dependencies = {\"2\"}", "\"dependencies\" is not comparable"},
           {"retries ~= \"4*\"", "\"retries\" does not hold a text"},
           {"longLabel ~= 4", "\"longLabel\" does not hold a text"},
           {"contactId in \"2A\"", "\"contactId\" does not hold a list"},
           {"longLabel subsetof {}", "\"longLabel\" does not hold a list"},
       }) {
    EXPECT_EQ(server.outcome(query(term)), "Property " + reason) << term;
  }
  // What no expression of the query language gives, but a client may send.
  protocol::SelectReq select = query("retries = \"5\"");
  select.pattern->filter[0]->prop->typeWord = tql::kUnsignedInteger;
  EXPECT_EQ(server.outcome(std::move(select)), "Property \"retries\" does not hold a number");
  select = query("retries = 5");
  select.pattern->filter[0]->op = protocol::RelOperator{13};
  EXPECT_EQ(server.outcome(std::move(select)), "Unknown relative operator");
}

// test_update.py has the names and flags of properties.
TEST(Requests, UpdateTakesLegalValuesAlone) {
  Server server(makeSampleTree);
  const std::string wrong = " cannot have this value";
  protocol::UpdateReq request;
  for (const auto& [object, terms, expected] : std::vector<std::tuple<ObjectIndex, std::string, std::string>>{
           {0, "siblingName = \"top\"", "done"},
           {0, "notify = NOTIFY_None & aliases = {}", "Property \"aliases\" is of another type"},
           {0, "dependencies = {\"2\", \"1\"} & contactId = \"3\"I & oid = \"1.3\"S", "done"},
           {0, "contactId = \"\"I", "done"},  // null
           {0, "retries = \"x\" & active = 1",
            "Property \"retries\" is of another type; Property \"active\" is of another type"},
           {0, "contactId = \"ZZ\"I", "Property \"contactId\"" + wrong},
           {0, "dependencies = {\"2\", \"ZZ\"}", "Property \"dependencies\"" + wrong},
           {0, "oid = \"1..3\"S", "Property \"oid\"" + wrong},
           {0, "oid = \"1.\"S", "Property \"oid\"" + wrong},
           {server.last, "siblingName = \"node000000\"",
            "Property \"siblingName\": another child of the same object has this name"},
           {server.last, "siblingName = \"other\" & longLabel = \"Other\"", "done"},
           {server.last, "number = 5", "Property \"number\" is constant"},
       }) {
    request = server.update(object);
    const auto changes = tql::parse(".{ " + terms + " }");
    for (const auto& term : changes->filter) {
      request.properties.push_back(*term->prop);
    }
    EXPECT_EQ(server.outcome(request), expected) << terms;
  }
  request.version += "0";
  EXPECT_EQ(server.outcome(request), "Someone else has updated the object");
  request = server.update(Tree::kRoot);
  auto& changes = request.properties;  // values of the right class, which no text of the query language gives
  tql::encode(changes.emplace_back(), "notify", tql::kNotifyEnumeration, std::uint32_t{3});
  tql::encode(changes.emplace_back(), "reportFormat", tql::kReportEnumeration, std::uint32_t{16});
  tql::encode(changes.emplace_back(), "threshold", tql::kReal, 1.5);
  EXPECT_EQ(server.outcome(request), "Property \"notify\"" + wrong + "; Property \"reportFormat\"" + wrong +
                                         "; Property \"threshold\"" + wrong);
  tql::encodeNull(changes.emplace_back(), "reset", tql::kAction);
  changes = {changes.back()};
  EXPECT_EQ(server.outcome(request), "done");
  EXPECT_EQ(server.activity.actions, 1U);
}

// test_metrics.py reads all that there are.
TEST(Requests, CallsRefuseNamesOfNoMetric) {
  Server server(makeSampleTree);
  protocol::CallReq request;
  request.method = protocol::method::kMetricValue;
  EXPECT_EQ(server.outcome(request), "Parameter \"name\" is missing");
  protocol::Property& name = request.parameters.emplace_back();
  for (const auto& [path, expected] :
       Rows{{"many.m3", "There is no metric \"many.m3\""},
            {"many.m02", "There is no metric \"many.m02\""},
            {"many.m2.x", "There is no metric \"many.m2.x\""},
            {"sample.queues.queue3.length", "There is no metric \"sample.queues.queue3.length\""},
            {"many", "\"many\" is not a metric"},
            {"sample.queues.queue1", "\"sample.queues.queue1\" is not a metric"},
            {"many.m2", "done"}}) {
    tql::encode(name, "name", tql::kStringList, splitToList(path, '.', false));
    EXPECT_EQ(server.outcome(request), expected);
  }
  request.method = 4;
  EXPECT_EQ(server.outcome(request), "There is no method 4");
  request.method = protocol::method::kMetricValue;
  tql::encode(name, "name", tql::kString, std::string("sample"));
  EXPECT_EQ(server.outcome(request), "Parameter \"name\" takes a list of strings");
}

TEST(Requests, DataAreRefusedThatDoNotFit) {
  Server server(makeSampleTree);
  const std::string check = "7";  // of continuous values
  // The object, the table and its data type, when an entry that begins at 100 ends, and the outcome.
  for (const auto& [object, table, type, end, expected] :
       std::vector<std::tuple<std::string, const char*, std::int32_t, std::int32_t, std::string>>{
           {check, protocol::kResultTable, 5, 200, "done"},
           {check, protocol::kResultTable, 3, 200, "The data type of the series is 5, not 3"},
           {check, protocol::kResultTable, 5, 99, "Entry 1 ends before it begins"},
           {check, protocol::kIncidentTable, 5, 200, "The object keeps no data in that table"},
           {check, "tables", 5, 200, "There is no table \"tables\""},
           {server.tree.id(server.last), protocol::kIncidentTable, 1, 200,
            "Entry 1 is of another kind than the series"},
           {"ZZ", protocol::kResultTable, 5, 200, "No object has the id \"ZZ\""},
       }) {
    protocol::PutDataReq request;
    request.objectId = object;
    request.tableName = table;
    request.dataType = type;
    auto& entry = request.intervals.emplace_back().data.emplace<protocol::DataIntervalContinuous>();
    entry.begin = 100;
    entry.end = end;
    EXPECT_EQ(server.outcome(std::move(request)), expected);
  }
  protocol::GetDataReq get;
  get.objectId = check;
  get.tableName = protocol::kResultTable;
  get.end = 150;
  EXPECT_EQ(server.outcome(get), "1 entries");
  get.number1 = 1;
  EXPECT_EQ(server.outcome(get), "Data can be had as it is stored only");
  protocol::GetLastDataReq last;
  last.objectId = "1";
  last.tableName = protocol::kResultTable;
  EXPECT_EQ(server.outcome(last), kNothing);
  EXPECT_EQ(server.outcome(protocol::EraseReq()), "The request is not implemented");
}

}  // namespace
}  // namespace morvex::sandbox
