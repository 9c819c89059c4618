#pragma once

// Registers the native types that QML documents create into the module ZorvelClient 1.0. Called before the
// first document is loaded; calling it again does no harm.
void registerQmlTypes();
