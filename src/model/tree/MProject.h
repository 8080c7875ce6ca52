#pragma once
// The project: the top node of the tree, the node of the root event. It
// holds the pool, the marker, tempo and signature tracks, the track list, the
// default automatic fades and the table of event IDs.
//
// Building a project in code
// --------------------------
//   FRef<MRoot> root = MProject::createNew();   // nullptr if the tempo or
//   MProject* project = root->getProject();     // signature classes are not
//                                               // registered (initializeModel)
//   // A track: make it by kind ("Audio", "MIDI", "Marker", "Folder",
//   // "Video", "Group Channel", "Master Automation") and add it.
//   FRef<MTrackEvent> track = MProject::createTrack("MIDI", "Bass");
//   bool ok = project->addTrack(track);          // at the end of the list
//   // A part: its node (an MPartNode) holds the part's events.
//   auto part = makeRef<MPartEvent>();
//   part->setName("Verse");
//   part->setStart(1920); part->setLength(7680);  // pulses
//   ok = project->addPart(track.get(), part);
//   auto* content = static_cast<MPartNode*>(part->getNode());
//   // Many events: append, sort once, then register their IDs.
//   for (...) content->list().append(makeEvent(...));
//   content->list().sortAfterAppend();
//   project->registerEvent(part.get());          // IDs for the new events
//
// Every event placed into the tree needs an ID (links between events name
// IDs). addTrack() and addPart() register what they add and everything
// below it, and so do the commands that put events into the tree (when the
// undo manager performs them on the project's root); code that inserts
// through an accessor calls registerEvent() for the inserted event
// afterwards. assignEventIDs() walks the whole tree and
// gives an ID to every event that lacks one (run before saving). Changes of
// a live project run under the root updater's write side (MRoot.h).

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/FRef.h"
#include "model/tree/MArrayNode.h"
#include "model/tree/MAutoFadeSetting.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MTrackEvent.h"
#include "model/tree/MTrackList.h"

namespace vantor {

class MRoot;
class MSignatureTrackNode;
class MTempoTrackNode;

// Resolves event IDs to events. IDs are given from a counter that stays
// above every ID in the table, so new entries append in ID order and a
// lookup is a binary search. The table holds a reference on each event, so
// an ID never names a destroyed event; compact() drops events that only the
// table still holds.
class MEventIDTable {
 public:
  // Gives event an ID when it has none (0) or its ID is taken by another
  // event, and enters it. Returns the event's ID.
  uint32_t assign(MEvent* event);
  // The event with this ID, or nullptr.
  MEvent* find(uint32_t id) const;
  // Re-enters the events of a tree: beginRebuild() with how many will come
  // (it sizes the table; a guess is fine), enter() for each event in tree
  // order, then endRebuild(). IDs are kept where they are unique; events
  // without an ID and the later holders of a repeated ID get fresh ones.
  void beginRebuild(size_t expected);
  void enter(MEvent* event);
  void endRebuild();
  // Drops entries whose event is held by nothing but this table.
  void compact();
  void clear();

  size_t size() const { return ids_.size(); }
  // The ID the next new event gets; always above every ID in the table.
  uint32_t nextID() const { return next_; }
  void setNextID(uint32_t next) { next_ = next == 0 ? 1 : next; }

 private:
  size_t lowerBound(uint32_t id) const;
  void sortByID();
  void dropRepeatedIDs();

  // Two parallel columns sorted by ID, the IDs apart so that a lookup
  // searches them alone (and no padding is stored per entry).
  std::vector<uint32_t> ids_;
  std::vector<FRef<MEvent>> events_;
  // While rebuilding: the events that get a fresh ID at its end.
  std::vector<MEvent*> fresh_;
  uint32_t next_ = 1;
  size_t compactAt_ = 4096;
};

class MProject : public MListNode {
  VANTOR_CLASS(MProject)
 public:
  // An empty project node: a track list and fade settings, but no marker,
  // tempo or signature track (createNew() makes a complete project).
  MProject();
  MProject(const MProject&) = delete;
  MProject& operator=(const MProject&) = delete;
  ~MProject() override;

  // A complete empty project: root, project, marker track, tempo track (one
  // tempo event of 120 BPM), signature track (one 4/4 signature) and an
  // empty track list; every event has its ID. nullptr when the tempo or
  // signature node classes are not registered.
  static FRef<MRoot> createNew();
  // A new track event of a registered "Track Class" kind with its node and
  // MTrack, named name; nullptr for an unknown kind or a name isValidName
  // (model/tree/MName.h) refuses.
  static FRef<MTrackEvent> createTrack(std::string_view kind, std::string name);

  // The root event whose node this project is (not owned), or nullptr.
  MRoot* getRoot() const { return root_; }
  MTrackList* getTrackList() const { return trackList_.get(); }
  MMarkerTrackEvent* getMarkerTrack() const { return marker_.get(); }
  MTempoTrackEvent* getTempoTrack() const { return tempo_.get(); }
  MSignatureTrackEvent* getSignatureTrack() const { return signature_.get(); }
  // The tempo and signature maps (the nodes of those tracks). Never null in
  // a project made by createNew() or read from a file, which is refused
  // without them; null only in a bare project node.
  MTempoTrackNode* getTempoNode() const;
  MSignatureTrackNode* getSignatureNode() const;
  void setMarkerTrack(FRef<MMarkerTrackEvent> track);
  void setTempoTrack(FRef<MTempoTrackEvent> track);
  void setSignatureTrack(FRef<MSignatureTrackEvent> track);
  // The audio pool (an object of the audio layer), or nullptr.
  CmObject* getPool() const { return pool_.get(); }
  void setPool(FRef<CmObject> pool) { pool_ = std::move(pool); }
  // The folder that relative audio paths start from.
  const std::string& getWorkingDirectory() const { return workingDirectory_; }
  void setWorkingDirectory(std::string path) { workingDirectory_ = std::move(path); }
  // Never null.
  MAutoFadeSetting* getAutoFadeSetting() const { return autoFade_.get(); }

  // Adds track to the track list at index (the end by default) and gives
  // IDs to it and the events below it. False when the track is null or
  // already in the list.
  [[nodiscard]] bool addTrack(FRef<MTrackEvent> track, size_t index = MTrackList::npos);
  // Puts part on track (through the track node's write accessor; a track
  // without a node gets one) and gives IDs to it and the events below it.
  // False when the track's node refuses changes or has no events, or the
  // track's kind does not hold that part (MTrackEvent::holdRule).
  [[nodiscard]] bool addPart(MTrackEvent* track, FRef<MPartEvent> part);

  // Event IDs. registerEvent() gives event and every event below it (in
  // its node, recursively) an ID; returns the event's ID.
  uint32_t registerEvent(MEvent* event);
  // Gives an ID to every event of the tree that lacks one or shares one.
  void assignEventIDs();
  // The event with this ID, or nullptr.
  MEvent* findEvent(uint32_t id) const { return ids_.find(id); }
  const MEventIDTable& eventIDs() const { return ids_; }

  // Visits every event of the tree once (the marker, tempo and signature
  // tracks, the tracks and everything below them, the project's own
  // events), parents before children; a shared node is entered once. It
  // takes no references on the model's own nodes, so a reader thread may
  // call it under the root updater's read side.
  void forEachEvent(const std::function<void(MEvent&)>& visit) const;

  // Archive, after the list node's members: "Working Directory" (string),
  // "Pool" (object record), "Marker", "Tempo Track", "Signature Track",
  // "Track List", "Auto Fade Settings" (object records), "Event IDs" (the
  // next free ID, 32-bit), "Event" (the root: a back reference when written
  // from the root). "Event IDs" is one above the highest ID in the tree or
  // named by a group. Reading rebuilds the ID table from the tree and resolves
  // virtual groups.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  friend class MRoot;
  void setRoot(MRoot* root) { root_ = root; }
  void placeTrack(MTrackEvent* track);
  [[nodiscard]] bool readMembers(FObjectArchive& archive);
  void resolveVirtualGroups();
  // The next free ID (see the archive's "Event IDs"); eventCount, when
  // given, receives the number of events in the tree.
  uint32_t savedNextID(size_t* eventCount = nullptr) const;
  // assignEventIDs() with the table sized for expected events.
  void enterEvents(size_t expected);

  std::string workingDirectory_;
  FRef<CmObject> pool_;
  FRef<MMarkerTrackEvent> marker_;
  FRef<MTempoTrackEvent> tempo_;
  FRef<MSignatureTrackEvent> signature_;
  FRef<MTrackList> trackList_;
  FRef<MAutoFadeSetting> autoFade_;
  MEventIDTable ids_;
  MRoot* root_ = nullptr;
};

}  // namespace vantor
