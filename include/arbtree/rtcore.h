/**
 * \file
 * The rtcore stand-in: turns the code of an exception that left a producer into a status, and names the exception type
 * and the codes with which a C++ producer and arbtree's guard around it understand each other.
 *
 * A translated status is read like a producer's own result: 0, ARB_STATUS_BREAK and ARB_STATUS_END leave the document
 * healthy, any other is kept as its failure. A translation holds for the whole process, so hosts that share a process
 * choose different codes. All calls may be made from any thread at any time; the registry is guarded by a lock.
 */
#ifndef ARBTREE_RTCORE_H
#define ARBTREE_RTCORE_H

#include "arbtree/arbtree.h"

#ifdef __cplusplus
#include <new>
#if defined(__GLIBCXX__)
#include <cxxabi.h>
#endif

extern "C" {
#endif

/**
 * \defgroup standin_rtcore Stand-in: rtcore
 * What exceptions of a producer become.
 * \{
 */

#define RT_STATUS_EXCEPTION 3401u /**< the status of every code that has no translation */

/* The codes under which C++ exceptions are reported that carry none; structured ones of Windows have their own. */
/** any C++ exception but the next one and RtCodedException; on Windows also abort() in a producer */
#define RT_CODE_CPP_EXCEPTION 0xE0000001u
#define RT_CODE_NOMEMORY 0xE0000002u      /**< std::bad_alloc */

/* ------------------------------------------------------------------------------------------------------------------
 * For hosts
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Makes a code translate to a status from now on, in place of what it translated to before. Every code and every status
 * is allowed.
 *
 * \return ARB_OK, or ARB_ERR_NOMEMORY (nothing has changed).
 */
uint32_t ARB_CALL RtSetTranslation(uint32_t exceptionCode, uint32_t status);

/** Takes a code's translation back. \return ARB_OK, or ARB_ERR_NOTFOUND when none has been set. */
uint32_t ARB_CALL RtRemoveTranslation(uint32_t exceptionCode);

/* ------------------------------------------------------------------------------------------------------------------
 * What arbtree calls
 * ------------------------------------------------------------------------------------------------------------------ */

/** The status set for a code; without one ARB_ERR_NOMEMORY for RT_CODE_NOMEMORY, else RT_STATUS_EXCEPTION. */
uint32_t ARB_CALL RtTranslateException(uint32_t exceptionCode);

#ifdef __cplusplus
}

/* ------------------------------------------------------------------------------------------------------------------
 * For producers in C++
 * ------------------------------------------------------------------------------------------------------------------ */

#if defined(_WIN32)
#define RT_EXCEPTION_TYPE
#else
#define RT_EXCEPTION_TYPE __attribute__((visibility("default"))) /**< so that it can be caught outside the library */
#endif

/** What a C++ producer throws to leave a run with a code of its own. */
struct RT_EXCEPTION_TYPE RtCodedException {
  uint32_t code; /**< the code that RtTranslateException gets */
};

/** The code of the exception that the caller is handling. REQUIRES: there is one, and not a forced unwinding. */
inline uint32_t RtCodeOfException() {
  try {
    throw;
  } catch (const RtCodedException &exception) {
    return exception.code;
  } catch (const std::bad_alloc &) {
    return RT_CODE_NOMEMORY;
  } catch (...) {
    return RT_CODE_CPP_EXCEPTION;
  }
}

/**
 * A producer entry around another one, with the same outcome, that lets no C++ exception out: startEntry =
 * RtProducer<produce>. arbtree's own guard sees the C++ exceptions of producers that share its C++ runtime. The modules
 * of a Windows program usually have one each; there an exception that leaves its module is a call of abort() to the
 * guard, which has the code RT_CODE_CPP_EXCEPTION whatever was thrown, and destroys nothing on its way. This one is
 * compiled into the producer's module, so that it catches there and the code is known.
 */
template <ArbProducerEntry Entry>
#if defined(__GNUC__)
__attribute__((no_sanitize("null"))) /* a forced unwinding has no object for the reference that catches it */
#endif
uint32_t ARB_CALL
RtProducer(uint32_t argument1, uint32_t argument2, uint32_t argument3) {
  try {
    return Entry(argument1, argument2, argument3);
#if defined(__GLIBCXX__)
  } catch (abi::__forced_unwind &) {
    throw; /* the thread's cancellation goes on */
#endif
  } catch (...) {
    return RtTranslateException(RtCodeOfException());
  }
}
#endif

/** \} */

#endif /* ARBTREE_RTCORE_H */
