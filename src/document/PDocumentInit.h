#pragma once
// Start-up of the document layer.

namespace vantor {

// Runs the model's initialiser, then registers the document's persistent
// classes through FInitializer. Idempotent; call it before using the layer.
void initializeDocument();

// Registers PArrangement, PAppVersion, PDeviceSetup and PWindowLayouts.
void registerDocumentClasses();

}  // namespace vantor
