// Ends the process without exit handlers, as the platform does it; one source for each.
#pragma once

[[noreturn]] void EndQuickly();
