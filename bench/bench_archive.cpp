// Writing and reading an object archive of a million small objects (some of
// them shared), against two peers holding the same data: FlatBuffers (the
// choice for a binary document of many small records; built when installed)
// and CBOR through nlohmann::json. Counters: objects and bytes per second in
// each direction. The peers' reads build objects too (a vector of items with
// their own strings), as the archive's read does, so the work compares.

#include <benchmark/benchmark.h>

#include <nlohmann/json.hpp>

#include <string>
#include <unordered_map>
#include <vector>

#if defined(VANTOR_HAVE_FLATBUFFERS)
#include "bench_archive_generated.h"
#endif

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

#if defined(VANTOR_HAVE_FLATBUFFERS)
// Shared items are stored once and referred to again by their offset, as
// the archive does with back references.
std::vector<uint8_t> flatBytes() {
  flatbuffers::FlatBufferBuilder builder(64 << 20);
  std::unordered_map<const BItem*, flatbuffers::Offset<bench::Item>> done;
  std::vector<flatbuffers::Offset<bench::Item>> offsets;
  offsets.reserve(sample()->items.size());
  for (const auto& item : sample()->items) {
    auto [it, added] = done.try_emplace(item.get());
    if (added) {
      it->second = bench::CreateItem(builder, item->value, item->position, builder.CreateString(item->name));
    }
    offsets.push_back(it->second);
  }
  builder.Finish(bench::CreateList(builder, builder.CreateVector(offsets)));
  return {builder.GetBufferPointer(), builder.GetBufferPointer() + builder.GetSize()};
}

void PeerFlatBuffersWrite(benchmark::State& state) {
  size_t bytes = 0;
  for (auto _ : state) {
    std::vector<uint8_t> out = flatBytes();
    bytes = out.size();
    benchmark::DoNotOptimize(out.data());
  }
  setCounters(state, bytes);
}

void PeerFlatBuffersRead(benchmark::State& state) {
  const std::vector<uint8_t> bytes = flatBytes();
  for (auto _ : state) {
    flatbuffers::Verifier verifier(bytes.data(), bytes.size(), 64, 4000000);
    if (!bench::VerifyListBuffer(verifier)) state.SkipWithError("verify failed");
    const bench::List* list = bench::GetList(bytes.data());
    // Into objects, sharing what the file shares.
    std::unordered_map<const bench::Item*, FRef<BItem>> seen;
    std::vector<FRef<BItem>> items;
    items.reserve(list->items()->size());
    for (const bench::Item* stored : *list->items()) {
      auto [it, added] = seen.try_emplace(stored);
      if (added) {
        it->second = makeRef<BItem>();
        it->second->value = stored->value();
        it->second->position = stored->position();
        it->second->name = stored->name()->str();
      }
      items.push_back(it->second);
    }
    benchmark::DoNotOptimize(items.data());
  }
  setCounters(state, bytes.size());
}

// FlatBuffers' own way: verify, then read the fields in place.
void PeerFlatBuffersVisitInPlace(benchmark::State& state) {
  const std::vector<uint8_t> bytes = flatBytes();
  for (auto _ : state) {
    flatbuffers::Verifier verifier(bytes.data(), bytes.size(), 64, 4000000);
    if (!bench::VerifyListBuffer(verifier)) state.SkipWithError("verify failed");
    double sum = 0;
    for (const bench::Item* stored : *bench::GetList(bytes.data())->items()) {
      sum += stored->value() + stored->position() + stored->name()->size();
    }
    benchmark::DoNotOptimize(sum);
  }
  setCounters(state, bytes.size());
}

BENCHMARK(PeerFlatBuffersWrite)->Unit(benchmark::kMillisecond);
BENCHMARK(PeerFlatBuffersRead)->Unit(benchmark::kMillisecond);
BENCHMARK(PeerFlatBuffersVisitInPlace)->Unit(benchmark::kMillisecond);
#endif

BENCHMARK(ArchiveWrite)->Unit(benchmark::kMillisecond);
BENCHMARK(ArchiveRead)->Unit(benchmark::kMillisecond);
BENCHMARK(PeerCborWrite)->Unit(benchmark::kMillisecond);
BENCHMARK(PeerCborRead)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vantor

BENCHMARK_MAIN();
