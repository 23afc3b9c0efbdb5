#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// The text of a frame name template (as "clip_%04i.dpx") with the frame number in place of its conversions,
// as a formatted print with that one argument would give it.
//
// A "%" in a file's own name makes such a template, too, so nothing in it can do harm: "%%" is one "%", the
// first integer conversion (d, i, u, o, x, X, whatever its length modifier) takes the number, and whatever
// else begins with a "%" stays as it is, also a conversion that asks for a field wider than `widestField`.
std::string frameNameFromTemplate(std::string_view nameTemplate, int32_t frameNumber, int widestField);
