// Lets tests under a sanitizer ask for more memory than there is: the failed allocation is what they are about.
// SPDX-License-Identifier: Apache-2.0
extern "C" const char* __asan_default_options();  // NOLINT(bugprone-reserved-identifier): the runtime's hook
extern "C" const char* __tsan_default_options();  // NOLINT(bugprone-reserved-identifier): the runtime's hook

extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
extern "C" const char* __tsan_default_options() { return "allocator_may_return_null=1"; }
