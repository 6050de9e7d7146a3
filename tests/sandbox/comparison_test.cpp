#include "sandbox/comparison.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "query/tql/parser.h"
#include "sandbox/answer.h"
#include "sandbox/sample_tree.h"

namespace morvex::sandbox {
namespace {

const protocol::RelativeExpr& termOf(const protocol::PathPattern& pattern) { return *pattern.filter.front(); }

std::string outcome(const protocol::Property& value, protocol::RelOperator op,
                    const protocol::Property& constant) try {
  return holds(value, op, constant) ? "yes" : "no";
} catch (const Refusal& refusal) {
  EXPECT_EQ(refusal.code, ErrorCode::incomparable);
  return refusal.texts.at(0);
}

// The sample root has a property of every type.
const protocol::Property& propertyOfRoot(const std::string& name) {
  static const Tree tree = makeSampleTree({});
  static protocol::Property scratch;
  return *tree.property(Tree::kRoot, name, scratch);
}

struct Row {
  const char* term;  // property, operator, constant
  const char* expected;
};

class Comparison : public testing::TestWithParam<Row> {};

TEST_P(Comparison, Holds) {
  const auto pattern = tql::parse(std::string(".{ ") + GetParam().term + " }");
  const auto& [prop, op] = std::tie(*termOf(*pattern).prop, termOf(*pattern).op);
  EXPECT_EQ(outcome(propertyOfRoot(prop.name), op, prop), GetParam().expected) << GetParam().term;
}

INSTANTIATE_TEST_SUITE_P(Ordered, Comparison,
                         testing::ValuesIn(std::vector<Row>{
                             {"retries = 4294967295", "yes"},
                             {"retries > -1", "yes"},
                             {"retries <= +7", "no"},
                             {"offset < 0", "yes"},
                             {"threshold > 0", "yes"},
                             {"threshold >= 1", "no"},
                             {"created = 1048548303", "yes"},
                             {"seriesIndex != 1017T", "no"},
                             {"gid = 168496141", "yes"},
                             {"octets > 4294967296B", "yes"},
                             {"octets < 340282366920938463463374607431768211456B", "yes"},
                             {"balance < -1", "yes"},
                             {"serialNumber = 1512366075204170929049582354406559215B", "yes"},
                             {"serialNumber < 1512366075204170929049582354406559216B", "yes"},
                             {"serialNumber > 1512366075204170929049582354406559214B", "yes"},
                             {"serialNumber > 5", "yes"},
                             {"longLabel = \"Root domain\"", "yes"},
                             {"longLabel < \"root domain\"", "yes"},
                             {"longLabel > \"Root\"", "yes"},
                             {"oid > \"1.3.6.1.2.1.1.2.9\"S", "yes"},
                             {"oid < \"1.3.6.1.2.1.1.10.0\"S", "yes"},
                             {"contactId = \"2A\"I", "yes"},
                             {"contactId != \"2B\"I", "yes"},
                             {"active = true", "yes"},
                             {"active != true", "no"},
                             {"status = ES_WARN", "yes"},
                             {"status != ES_GOOD", "yes"},
                             {"null6 < \"a\"", "yes"},
                             {"null6 = \"\"", "no"},
                             {"null1 = bool_null", "yes"},
                             {"active > bool_null", "Property \"active\" is not ordered"},
                             {"contactId < \"2A\"I", "Property \"contactId\" is not ordered"},
                             {"retries = \"5\"", "Property \"retries\" is of another type than the constant"},
                             {"oid = \"1.3\"", "Property \"oid\" is of another type than the constant"},
                             {"dependencies = {\"2\"}", "Property \"dependencies\" is not comparable"},
                         }));

INSTANTIATE_TEST_SUITE_P(Patterns, Comparison,
                         testing::ValuesIn(std::vector<Row>{
                             {"longLabel ~= \"root DOMAIN\"", "yes"},
                             {"longLabel ~= \"root\"", "no"},
                             {"longLabel ~= \"r??t*\"", "yes"},
                             {"longLabel ~= \"*o*n\"", "yes"},
                             {"longLabel ~= \"*o*t\"", "no"},
                             {"longLabel ~= \"**\"", "yes"},
                             {"longLabel ~= \"Root domain?\"", "no"},
                             {"longLabel ~= \"Root domain*\"", "yes"},
                             {"longLabel !~ \"*x*\"", "yes"},
                             {"longLabel !~ \"root*\"", "no"},
                             {"longLabel isubstr \"T DOM\"", "yes"},
                             {"longLabel isubstr \"doom\"", "no"},
                             {"longLabel isubstr \"\"", "yes"},
                             {"null6 ~= \"*\"", "no"},
                             {"null6 !~ \"*\"", "yes"},
                             {"null6 isubstr \"\"", "no"},
                             {"retries ~= \"4*\"", "Property \"retries\" does not hold a text"},
                             {"longLabel ~= 4", "Property \"longLabel\" does not hold a text"},
                         }));

INSTANTIATE_TEST_SUITE_P(Sets, Comparison,
                         testing::ValuesIn(std::vector<Row>{
                             {"contactId in {\"1\", \"2A\"}", "yes"},
                             {"contactId in {\"2\"}", "no"},
                             {"dependencies intersects {\"A\", \"ZZ\"}", "yes"},
                             {"dependencies intersects {\"ZZ\"}", "no"},
                             {"dependencies subsetof {\"2\", \"A\", \"1F\", \"ZZ\"}", "yes"},
                             {"dependencies subsetof {\"2\", \"A\"}", "no"},
                             {"noDependencies subsetof {}", "yes"},
                             {"dependencies supersetof {\"A\", \"2\"}", "yes"},
                             {"dependencies supersetof {\"A\", \"ZZ\"}", "no"},
                             {"aliases intersects {\"alpha\"}", "yes"},
                             {"null8 supersetof {}", "no"},
                             {"contactId in \"2A\"", "Property \"contactId\" does not hold a list"},
                             {"retries in {\"2\"}", "Property \"retries\" does not hold a text"},
                             {"longLabel subsetof {}", "Property \"longLabel\" does not hold a list"},
                         }));

// What no expression of the query language gives, but a client may send.
TEST(Comparison, RefusesForeignConstants) {
  protocol::Property constant = propertyOfRoot("longLabel");
  const protocol::Property& value = propertyOfRoot("retries");
  constant.typeWord = value.typeWord;
  EXPECT_EQ(outcome(value, protocol::RelOperator::equal, constant),
            "Property \"longLabel\" does not hold a number");
  EXPECT_EQ(outcome(value, protocol::RelOperator{13}, value), "Unknown relative operator");
}

}  // namespace
}  // namespace morvex::sandbox
