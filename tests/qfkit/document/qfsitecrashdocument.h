#pragma once

#include "qfkit/document/qfsitedocumentdata.h"

#include <optional>

// The documents the crash test saves, one per generation: a few pages of a
// few megabytes each, every byte depending on the generation and the page,
// so a file holding parts of two saves is told apart from a whole one.
// Shared by the test and the helper process it kills.
namespace QFSiteCrashDocument {

QFSiteDocumentData generation(int generation);

// The generation data is a complete copy of; nullopt when it is not exactly
// one of them.
std::optional<int> generationOf(const QFSiteDocumentData &data);

} // namespace QFSiteCrashDocument
