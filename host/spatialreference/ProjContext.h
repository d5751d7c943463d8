#pragma once

#include <proj.h>

#include <functional>
#include <string>

// Per-thread PROJ state. A PROJ context must never be shared between
// threads, so every thread that touches PROJ gets its own, together with a
// cache of the objects built on it (CRS, transformations). Both are freed
// when the thread ends, objects first.
namespace SpatialReference {
namespace Proj {

// The calling thread's context (created on first use; never null unless
// PROJ is out of memory).
PJ_CONTEXT* threadContext();

// An object cached for this thread under `key`, built with `make` on first
// request. A null result is cached too (as "cannot be built"), so a bad
// code costs one attempt per thread. The object stays owned by the cache.
PJ* cachedObject(const std::string& key, const std::function<PJ*(PJ_CONTEXT*)>& make);

// Drops this thread's cached objects and context; the next call starts
// afresh (and re-reads PROJ's search paths).
void resetThreadState();

// Splits "AUTH:CODE" into its parts; false when the text is not of that form.
bool splitCode(const std::string& code, std::string& authority, std::string& number);

} // namespace Proj
} // namespace SpatialReference
