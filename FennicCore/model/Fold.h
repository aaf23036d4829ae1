#pragma once

#include <QString>

namespace fennic::Fold {

// The form in which names, paths and requests are compared: case-, diacritic- and
// width-insensitive, independent of the locale. Canonical decomposition, non-spacing marks
// dropped (variation selectors kept, so emoji survive), full-width and half-width forms mapped
// to their ordinary forms, full case folding, then recomposition. "Résumé" and "RESUME" both
// give "resume", "ÉCOLE" gives "ecole", "ＡＢＣ" gives "abc"; emoji and punctuation are kept.
// Pure ASCII text takes a fast path (lower-casing only) and text already folded is returned
// shared, without a copy. Thread-safe.
QString text(const QString& s);

// True when `s` folds to itself.
bool isFolded(const QString& s);

}  // namespace fennic::Fold
