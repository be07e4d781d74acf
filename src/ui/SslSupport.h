#pragma once

// Writes to the debug output whether the network library supports SSL, and its ciphers.
void writeSslSupport();
