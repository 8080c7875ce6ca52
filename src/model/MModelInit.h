#pragma once
// Start-up of the model layer: registers every persistent model class (and
// the registries of track kinds and event controllers) through FInitializer.

namespace vantor {

// Calls the foundation's initialiser first; idempotent.
void initializeModel();

// Registration of each area of the model; run by initializeModel().
void registerTreeClasses();
void registerTempoClasses();
void registerCommandClasses();
void registerMarkerClasses();

}  // namespace vantor
