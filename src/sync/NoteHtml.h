#pragma once

#include "RichText.h"

#include <QString>

// The rich note as the HTML of X-ALT-DESC;FMTTYPE=text/html, which other clients show and
// which brings the formatting back to Tavik. Each line is a paragraph or, when bulleted, a
// list item; character attributes are b, i, u and s.
namespace NoteHtml {

[[nodiscard]] QString toHtml(const RichText& note);
// Reads what toHtml writes (and plain XHTML like it). False when the text is not such XHTML.
[[nodiscard]] bool fromHtml(const QString& html, RichText* out);

} // namespace NoteHtml
