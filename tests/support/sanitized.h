// Tells whether the tests and their programs are built with sanitizers.
#pragma once

namespace kvl::test {

/// True if they are; a sanitizer takes memory, stack and descriptors of its own.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif
#else
inline constexpr bool kSanitized = false;
#endif

}  // namespace kvl::test
