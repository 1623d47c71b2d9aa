// The process as the system sees it; one source for each platform.
#pragma once

/// Ends it without exit handlers, as the platform does that.
[[noreturn]] void EndQuickly();

struct Resources {
  long threads;
  long handles;  // file descriptors, or what the system has in their place
  long residentKiB;
};
Resources CountResources();
