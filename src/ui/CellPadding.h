#pragma once

// What a column needs beside its text on either side, in pixels.
constexpr int cellPadding = 12;
