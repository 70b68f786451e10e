#import <Foundation/Foundation.h>

// Marks a class as part of the framework's public interface: everything else stays hidden.
#define KORVANE_EXPORT __attribute__((visibility("default")))
// The same for C functions and constants (with C linkage for Objective-C++ callers).
#define KORVANE_EXTERN FOUNDATION_EXTERN KORVANE_EXPORT
