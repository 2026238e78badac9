// Marks the definition of a documented function, the only kind of symbol that a stand-in exports.
#ifndef ARBTREE_STANDINS_COMMON_EXPORT_H
#define ARBTREE_STANDINS_COMMON_EXPORT_H

#if defined(_WIN32)
#define STANDIN_EXPORT extern "C" __declspec(dllexport)
#else
#define STANDIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

#endif
