#include "sandbox/metrics.h"

#include <charconv>
#include <chrono>
#include <utility>

#include "protocol/facts.h"
#include "query/tql/property_codec.h"

namespace morvex::sandbox {
namespace {

constexpr std::string_view kMany = "many";

void add(protocol::ListOfProperty& to, const char* name, std::uint64_t value) {
  protocol::Property& property = to.emplace_back();
  property.name = name;
  property.typeWord = tql::kUnsigned64;
  property.data.emplace<protocol::UnsignedInt64Prop>().value = value;
}

void addValue(protocol::ListOfProperty& to, std::uint64_t value) { add(to, "value", value); }
void addValue(protocol::ListOfProperty& to, double value) {
  tql::encode(to.emplace_back(), "value", tql::kReal, value);
}
void addValue(protocol::ListOfProperty& to, std::string_view value) {
  tql::encode(to.emplace_back(), "value", tql::kString, std::string(value));
}
void addValue(protocol::ListOfProperty& to, const Samples& value) {
  add(to, "n", value.n);
  add(to, "min", value.min);
  add(to, "max", value.max);
  add(to, "sum", value.sum);
  add(to, "sumSquares", value.sumSquares);
}

std::string quotedPath(const protocol::ListOfString1024& path) {
  std::string text;
  for (const std::string& name : path) {
    text += (text.empty() ? "" : ".") + name;
  }
  return "\"" + text + "\"";
}

// The name of one of the counters of --metrics.
std::string manyName(std::size_t number) { return std::string("m").append(std::to_string(number)); }

// A CallResp with metric objects: one, or all of them.
class MetricAnswer final : public ObjectsAnswer {
 public:
  MetricAnswer(std::int32_t requestId, const Metrics& metrics, std::size_t first, std::size_t behindLast)
      : ObjectsAnswer(requestId), metrics_(metrics), topDepth_(metrics[first].depth) {
    setRange(first, behindLast);
  }

 private:
  void open(ItemWriter& to) const override {
    to.open(protocol::CallResp::kSchema.tag);
    to.open(protocol::BE_SEQ);  // no properties
    to.close();
  }

  void writeObject(ItemWriter& to, std::size_t number) override {
    const MetricObject object = metrics_[number];
    begin(to, object.depth - topDepth_, object.className, static_cast<std::uint32_t>(number),
          std::to_string(number + 1), "1");
    writeText(to, "name", object.name);
    if (object.isMetric) {
      writeText(to, "unit", object.unit);
      writeText(to, "description", object.description);
    }
    endProperties(to);
  }

  void writeText(ItemWriter& to, const std::string& name, std::string_view text) {
    tql::encode(scratch_, name, tql::kString | tql::kReadOnly, std::string(text));
    scratch_.write(to);
  }

  const Metrics& metrics_;
  std::uint32_t topDepth_;
  protocol::Property scratch_;
};

const protocol::ListOfString1024& pathIn(const protocol::CallReq& request) {
  for (const auto& parameter : request.parameters) {
    if (parameter.name == "name") {
      const auto* const path = parameter.data.as<protocol::StringListProp>();
      if (path == nullptr || tql::baseOf(parameter) != tql::kStringList) {
        throw Refusal(ErrorCode::illegalType, "Parameter \"name\" takes a list of strings");
      }
      return path->value;
    }
  }
  throw Refusal(ErrorCode::missingProperty, "Parameter \"name\" is missing");
}

}  // namespace

std::unique_ptr<Answer> Metrics::serve(std::int32_t requestId, const protocol::CallReq& request) const {
  switch (request.method) {
    case protocol::method::kMetricTree:
      return std::make_unique<MetricAnswer>(requestId, *this, 0, size());
    case protocol::method::kMetricValue:
      return makeAnswer(requestId, read(find(pathIn(request))));
    case protocol::method::kMetricDescription: {
      const std::size_t index = find(pathIn(request)).index;
      return std::make_unique<MetricAnswer>(requestId, *this, index, index + 1);
    }
    default:
      throw Refusal(ErrorCode::notImplemented, "There is no method " + std::to_string(request.method));
  }
}

MetricObject Metrics::operator[](std::size_t index) const {
  if (index < manyIndex()) {
    const MetricRow& row = metricTable()[index];
    return {row.depth,      std::string(row.className), std::string(row.name), row.read != nullptr, row.unit,
            row.description};
  }
  if (index == manyIndex()) {
    return {1, kGroup, std::string(kMany), false, {}, {}};
  }
  return {2, kCounterInt64, manyName(index - manyIndex() - 1), true, "", "One of many"};
}

Metrics::Place Metrics::find(const protocol::ListOfString1024& path) const {
  const Place place = walk(path);
  if (!(*this)[place.index].isMetric) {
    throw Refusal(ErrorCode::nothingMatched, quotedPath(path) + " is not a metric");
  }
  return place;
}

// A path that ends at a table's instance ends at the table.
Metrics::Place Metrics::walk(const protocol::ListOfString1024& path) const {
  const auto table = metricTable();
  Place place{0, {}};
  std::size_t tables = 0;
  bool inTable = false;  // an instance comes next
  for (const std::string& name : path) {
    const auto next = childNamed(place.index, name, inTable);
    if (!next) {
      throw Refusal(ErrorCode::unknownId, "There is no metric " + quotedPath(path));
    }
    if (inTable) {
      place.instances[tables++] = *next - place.index - 1;
      inTable = false;
    } else {
      place.index = *next;
      inTable = *next < table.size() && table[*next].className == kTable;
    }
  }
  return place;
}

std::optional<std::size_t> Metrics::childNamed(std::size_t parent, std::string_view name,
                                               bool instance) const {
  if (many_ > 0 && parent == 0 && name == kMany) {
    return manyIndex();
  }
  if (parent >= manyIndex()) {
    return parent == manyIndex() ? manyNamed(name) : std::nullopt;
  }
  const auto table = metricTable();
  for (std::size_t i = parent + 1; i < table.size() && table[i].depth > table[parent].depth; ++i) {
    if (table[i].depth == table[parent].depth + 1 && table[i].name == name &&
        (table[i].className == kInstance) == instance) {
      return i;
    }
  }
  return std::nullopt;
}

std::optional<std::size_t> Metrics::manyNamed(std::string_view name) const {
  std::uint32_t number = 0;
  if (!name.empty()) {
    std::from_chars(name.data() + 1, name.data() + name.size(), number);
  }
  if (number >= many_ || name != manyName(number)) {
    return std::nullopt;
  }
  return manyIndex() + 1 + number;
}

protocol::CallResp Metrics::read(const Place& place) const {
  const auto running = std::chrono::steady_clock::now() - activity_.start;
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(running).count();
  const MetricInput now{activity_, tree_.size(), static_cast<std::uint64_t>(microseconds), place.instances};
  protocol::CallResp answer;
  if (place.index > manyIndex()) {
    addValue(answer.properties, ticksAt(now) + (place.index - manyIndex() - 1));
  } else {
    std::visit([&](const auto& value) { addValue(answer.properties, value); },
               metricTable()[place.index].read(now));
  }
  return answer;
}

}  // namespace morvex::sandbox
