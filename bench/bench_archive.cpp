// Writing and reading an object archive of a million small objects (some of
// them shared), against CBOR encoding of the same data with nlohmann::json
// as the peer. Counters: objects and bytes per second in each direction.

#include <benchmark/benchmark.h>

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "foundation/FClass.h"
#include "foundation/FInitializer.h"
#include "foundation/FMemoryStream.h"
#include "foundation/FObjectArchive.h"
#include "foundation/FRef.h"
#include "foundation/FShared.h"

namespace vantor {
namespace {

class BItem : public FShared {
  VANTOR_CLASS(BItem)
 public:
  int32_t value = 0;
  double position = 0;
  std::string name;
  [[nodiscard]] bool writeToArchive(FObjectArchive& a) const override {
    return a.stream().writeInt32(value) && a.stream().writeDouble(position) && a.stream().writeString(name);
  }
  [[nodiscard]] bool readFromArchive(FObjectArchive& a) override {
    return a.stream().readInt32(&value) && a.stream().readDouble(&position) && a.stream().readString(&name);
  }
};

class BList : public FShared {
  VANTOR_CLASS(BList)
 public:
  std::vector<FRef<BItem>> items;
  [[nodiscard]] bool writeToArchive(FObjectArchive& a) const override {
    if (!a.stream().writeUInt32(static_cast<uint32_t>(items.size()))) return false;
    for (const auto& item : items)
      if (!a.writeObject(item.get())) return false;
    return true;
  }
  [[nodiscard]] bool readFromArchive(FObjectArchive& a) override {
    uint32_t count = 0;
    if (!a.stream().readUInt32(&count) || count > a.stream().remaining()) return false;
    items.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
      FRef<BItem> item;
      if (!a.readObjectAs(&item)) return false;
      items.push_back(std::move(item));
    }
    return true;
  }
};

VANTOR_DEFINE_CLASS(BItem, FShared, 0)
VANTOR_DEFINE_CLASS(BList, FShared, 0)

constexpr int kObjects = 1000000;

FRef<BList> makeList() {
  initializeFoundation();
  BItem::classDescriptor();
  BList::classDescriptor();
  FRef<BList> list = makeRef<BList>();
  list->items.reserve(kObjects);
  for (int i = 0; i < kObjects; ++i) {
    // Every 50th entry refers to an object met before: a back reference.
    if (i % 50 == 49) {
      list->items.push_back(list->items[static_cast<size_t>(i - 10)]);
      continue;
    }
    FRef<BItem> item = makeRef<BItem>();
    item->value = i;
    item->position = i * 0.5;
    item->name = "n" + std::to_string(i % 1000);
    list->items.push_back(std::move(item));
  }
  return list;
}

const FRef<BList>& sample() {
  static FRef<BList> list = makeList();
  return list;
}

std::vector<uint8_t> written() {
  FMemoryStream stream;
  FObjectArchive archive(stream);
  (void)archive.writeArchive(sample().get());
  return stream.takeData();
}

void setCounters(benchmark::State& state, size_t bytes) {
  state.counters["objects/s"] =
      benchmark::Counter(static_cast<double>(kObjects) * state.iterations(), benchmark::Counter::kIsRate);
  state.SetBytesProcessed(static_cast<int64_t>(bytes) * state.iterations());
}

void ArchiveWrite(benchmark::State& state) {
  const auto& list = sample();
  size_t bytes = 0;
  for (auto _ : state) {
    FMemoryStream stream;
    FObjectArchive archive(stream);
    if (!archive.writeArchive(list.get())) state.SkipWithError("write failed");
    bytes = stream.data().size();
    benchmark::DoNotOptimize(bytes);
  }
  setCounters(state, bytes);
}

void ArchiveRead(benchmark::State& state) {
  const std::vector<uint8_t> bytes = written();
  for (auto _ : state) {
    FMemoryStream stream(bytes);
    FObjectArchive archive(stream);
    bool ok = false;
    FRef<CmObject> root = archive.readArchive(&ok);
    if (!ok) state.SkipWithError("read failed");
    benchmark::DoNotOptimize(root.get());
  }
  setCounters(state, bytes.size());
}

nlohmann::json asJson() {
  nlohmann::json items = nlohmann::json::array();
  for (const auto& item : sample()->items) {
    items.push_back({item->value, item->position, item->name});
  }
  return items;
}

void PeerCborWrite(benchmark::State& state) {
  const nlohmann::json data = asJson();
  size_t bytes = 0;
  for (auto _ : state) {
    std::vector<uint8_t> out = nlohmann::json::to_cbor(data);
    bytes = out.size();
    benchmark::DoNotOptimize(out.data());
  }
  setCounters(state, bytes);
}

void PeerCborRead(benchmark::State& state) {
  const std::vector<uint8_t> bytes = nlohmann::json::to_cbor(asJson());
  for (auto _ : state) {
    nlohmann::json data = nlohmann::json::from_cbor(bytes);
    benchmark::DoNotOptimize(data.size());
  }
  setCounters(state, bytes.size());
}

BENCHMARK(ArchiveWrite)->Unit(benchmark::kMillisecond);
BENCHMARK(ArchiveRead)->Unit(benchmark::kMillisecond);
BENCHMARK(PeerCborWrite)->Unit(benchmark::kMillisecond);
BENCHMARK(PeerCborRead)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vantor

BENCHMARK_MAIN();
