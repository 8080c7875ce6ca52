#pragma once
// The "Arrangement1" root of a project file: the arrangement, which leads to
// the model root (MRoot) and through it to the project (MProject).

#include "foundation/FClass.h"
#include "foundation/FRef.h"
#include "foundation/FShared.h"
#include "model/markers/MTransport.h"
#include "model/tree/MRoot.h"

namespace vantor {

class MProject;

class PArrangement : public FShared {
  VANTOR_CLASS(PArrangement)
 public:
  // An arrangement without a model root.
  PArrangement();
  explicit PArrangement(FRef<MRoot> root);

  // An arrangement of a new, empty project (MProject::createNew()); nullptr
  // when the model classes are not registered (initializeDocument()).
  static FRef<PArrangement> createNew();

  MRoot* getRoot() const { return root_.get(); }
  // The project, or nullptr.
  MProject* getProject() const;
  void setRoot(FRef<MRoot> root);
  // The transport: locators and cycle switch. Never null.
  MTransport* getTransport() const { return transport_.get(); }

  // Archive (class version 3): the model root as an object record, then the
  // transport's record. A record that ends after the root (written before
  // the transport was kept) gives the default locators. A record without a
  // root, or whose root is not an MRoot with a project, is unreadable; so is
  // an arrangement without a root when written.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  // Gives the transport the project's tempo map and the locator markers
  // their transport.
  void linkTransport();

  FRef<MRoot> root_;
  FRef<MTransport> transport_;
};

}  // namespace vantor
