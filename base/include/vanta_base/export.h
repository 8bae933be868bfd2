// Visibility macros: the one place that knows how each compiler marks a symbol that crosses a library boundary.
#pragma once

#if defined(_WIN32)
#define VANTA_SYMBOL_EXPORT __declspec(dllexport)
#define VANTA_SYMBOL_IMPORT __declspec(dllimport)
#elif defined(__cplusplus)
#define VANTA_SYMBOL_EXPORT [[gnu::visibility("default")]]
#define VANTA_SYMBOL_IMPORT [[gnu::visibility("default")]]
#else
#define VANTA_SYMBOL_EXPORT __attribute__((visibility("default")))
#define VANTA_SYMBOL_IMPORT __attribute__((visibility("default")))
#endif

// The module's own eleven exports.
#define VANTA_EXPORT VANTA_SYMBOL_EXPORT

// What the module imports from its three neighbours. Each neighbour defines its *_BUILD macro and exports the same
// declarations that the module imports.
#if defined(VANTA_HOST_BUILD)
#define VANTA_HOST_API VANTA_SYMBOL_EXPORT
#else
#define VANTA_HOST_API VANTA_SYMBOL_IMPORT
#endif

#if defined(LUMIVEX_BUILD)
#define LUMIVEX_API VANTA_SYMBOL_EXPORT
#else
#define LUMIVEX_API VANTA_SYMBOL_IMPORT
#endif

#if defined(TESSERA_BUILD)
#define TESSERA_API VANTA_SYMBOL_EXPORT
#else
#define TESSERA_API VANTA_SYMBOL_IMPORT
#endif

// printf-style argument checking where the compiler has it.
#if defined(__cplusplus) && defined(__has_cpp_attribute)
#if __has_cpp_attribute(gnu::format)
#define VANTA_PRINTF(format_index, first_argument) [[gnu::format(printf, format_index, first_argument)]]
#endif
#endif
#if !defined(VANTA_PRINTF)
#define VANTA_PRINTF(format_index, first_argument)
#endif
