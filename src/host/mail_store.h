#pragma once
// The mail-store seam (filled in with the engine).
