// The system object: shutdown routines, the verbose log, error policy, and what is known about the processor
// and the machine. One exists, reached through `Sys`, from the first V_VantorInit to the last.
//
// Except for V_STR nothing here is synchronised; it belongs to one thread at a time.
#pragma once

#include "vl/core/export.h"
#include "vl/core/list.h"

#include <cstdint>
#include <fstream>
#include <mutex>

namespace vl {
class CheckFailure;
}

/// The services of the whole process; see the head of this file.
class VL_API V_System {
  public:
    /// Who made the processor.
    enum ProcessorVendor {
        VENDOR_UNKNOWN = 0,
        VENDOR_INTEL = 1,
        VENDOR_UMC = 2,
        VENDOR_AMD = 3,
        VENDOR_CYRIX = 4,
        VENDOR_NEXGEN = 5,
        VENDOR_CENTAUR = 6
    };

    /// Processor models that programs tell apart; everything else is TYPE_UNKNOWN.
    enum ProcessorType {
        TYPE_UNKNOWN = 0,
        TYPE_CELERON = 1,
        TYPE_PENTIUM_II = 2,
        TYPE_PENTIUM_II_XEON = 3,
        TYPE_PENTIUM_III = 4,
        TYPE_PENTIUM_III_XEON = 5,
        TYPE_K6 = 6,
        TYPE_K6_2 = 7,
        TYPE_K6_2_PLUS = 8,
        TYPE_K6_III = 9,
        TYPE_ATHLON = 10,
        TYPE_DURON = 11,
        TYPE_PENTIUM_4 = 12,
        TYPE_WINCHIP_C6 = 13,
        TYPE_WINCHIP_2 = 14,
        TYPE_WINCHIP_2_3D = 15,
        TYPE_CENTAUR_6_6 = 16,
        TYPE_CENTAUR_6_7 = 17,
        TYPE_CENTAUR_6_7_LATE = 18,
        TYPE_K5 = 19,
        TYPE_ATHLON_LATE = 20,
        TYPE_CYRIX_5X86 = 21,
        TYPE_CYRIX_6X86 = 22,
        TYPE_CYRIX_6X86MX = 23,
        TYPE_MEDIAGX = 24,
        TYPE_PENTIUM = 25,
        TYPE_PENTIUM_PRO = 26,
        TYPE_CELERON_A = 27,
        TYPE_NX586 = 28
    };

    /// Bits of getProcessorCaps.
    enum ProcessorCaps : unsigned int {
        CAP_MMX = 1,
        CAP_3DNOW = 2,
        CAP_CMOV = 4, ///< conditional move
        CAP_EXTENDED_MMX_3DNOW = 8,
        CAP_TSC = 16,  ///< time-stamp counter
        CAP_SSE = 32,  ///< and the operating system saves its registers
        CAP_SSE2 = 64, ///< likewise
    };

    /// One registered de-initialisation routine.
    struct DEINIT {
        void (*function)(); ///< what is run
        char *name;         ///< owned copy, may be null
    };

    /// Receives every text written to the log.
    using VerboseCallback = void (*)(const char *text);

    V_System(const V_System &) = delete;
    V_System &operator=(const V_System &) = delete;

    // ---- Shutdown routines ---------------------------------------------------------------------------

    /// Registers a routine to be run at shutdown, when the file system is gone and the log still writable;
    /// routines run in reverse order of registration and may call add and remove. `name` is copied and may be
    /// null. Returns 1, or 0 (and changes nothing) when the function is registered already. Throws
    /// V_MemoryException_Allocation.
    int add(void (*function)(), const char *name);

    /// Unregisters a routine: 1 when it was registered, else 0.
    int remove(void (*function)());

    // ---- The verbose log -----------------------------------------------------------------------------

    /// Appends a text, formatted printf-style with at most 1023 characters (a longer one is cut), to the log
    /// and flushes it; no line end is added. The first text after start-up or clearVerbose is preceded by a
    /// header with the date. Then the callback receives the text. When the file cannot be opened the text is
    /// dropped. The log lies in the directory that is the process's current one when it is first opened, and
    /// stays that file whatever the current directory is later.
    void verbose(const char *format, ...) VL_PRINTF(2, 3);

    /// Sets the callback that mirrors the log (null: none) and returns the previous one.
    VerboseCallback setVerboseCallback(VerboseCallback callback);

    /// Ends logging for good; a non-zero argument also deletes the log file.
    void ceaseVerbose(int deleteFile);

    /// Empties the log file; the next text starts it afresh with a header.
    void clearVerbose();

    /// Writes a description of the system object to the log: the registered routines.
    void dump();

    // ---- Error policy --------------------------------------------------------------------------------

    /// Sets m_bAssertionCreatesException.
    void setAssertionCreatesException(bool createsException);

    static bool m_bErrorCreatesException;     ///< for clients; the library does not consult it
    static bool m_bAssertionCreatesException; ///< a failed check throws instead of ending the process
    static bool m_bSuppressErrors;            ///< failed checks are ignored

    /// Called at shutdown; does nothing and returns 0.
    int cleanupAllocations();

    // ---- Processor -----------------------------------------------------------------------------------

    /// Capabilities (bits of ProcessorCaps), maker, and type.
    unsigned int getProcessorCaps() const { return m_uProcessorCaps; }
    ProcessorVendor getProcessorVendor() const { return m_eProcessorVendor; }
    ProcessorType getProcessorType() const { return m_eProcessorType; }
    /// The model's name, "Unknown" when nothing better is known. Valid as long as the system object.
    const char *getProcessorModel() const { return m_acProcessorModel; }

    /// Cache sizes in bytes, 0 when unknown; level 1 is code plus data. The trace cache is counted in
    /// micro-operations.
    unsigned int getL1CodeCacheSize() const { return m_uL1CodeCacheSize; }
    unsigned int getL1DataCacheSize() const { return m_uL1DataCacheSize; }
    unsigned int getL1CacheSize() const { return m_uL1CodeCacheSize + m_uL1DataCacheSize; }
    unsigned int getL2CacheSize() const { return m_uL2CacheSize; }
    unsigned int getL3CacheSize() const { return m_uL3CacheSize; }
    unsigned int getL1TraceCacheSize() const { return m_uL1TraceCacheSize; }

    /// Translation-buffer figures: a page size in bytes or a number of entries, as the processor describes
    /// itself.
    unsigned int getTLBCodeCacheSize() const { return m_uTLBCodeSize; }
    unsigned int getTLBDataCacheSize() const { return m_uTLBDataSize; }

    /// Clock rate in cycles per second. The first call measures it, busy for half a second at raised
    /// priority, and resets the profiler; later calls return the stored figure. 1.0 without a time-stamp
    /// counter.
    double getProcessorSpeed();

    // ---- Machine and time ----------------------------------------------------------------------------

    /// Physical memory in bytes; more than 4294967295 is reported as 4294967295.
    unsigned int getTotalPhysicalMemory() const;
    unsigned int getAvailablePhysicalMemory() const;

    /// Seconds since the system object was constructed.
    double getAppAge();

    /// The high-resolution counter and its ticks per second, or the millisecond clock and 1000 where that
    /// counter is missing.
    std::int64_t getPerformanceFrequency() const;
    std::int64_t getPerformanceCounter() const;

  private:
    friend class V_VantorInit;
    friend class V_Profile;
    friend class vl::CheckFailure;
    friend VL_API const char *V_STR(const char *format, ...);

    VL_LOCAL explicit V_System(const char *verboseFileName);
    VL_LOCAL ~V_System();

    VL_LOCAL void deinits();
    VL_LOCAL void free(DEINIT *record);
    VL_LOCAL void fixVerboseFile();
    [[noreturn]] VL_LOCAL void terminate();

    VL_LOCAL void determineProcessorCaps();
    VL_LOCAL void determineProcessorSpeed();
    VL_LOCAL double processorSpeedTest();
    int processorSpeedDetermined() const { return m_bProcessorSpeedDetermined; }
    VL_LOCAL void startPerformanceTimer();

    std::mutex m_hMutex; ///< serialises V_STR
    std::ofstream m_verboseStream;
    VerboseCallback m_pfVerboseCallback = nullptr;
    char m_acErrorText[1024] = {};      ///< shown by terminate
    char *m_pVerboseFileName = nullptr; ///< owned; absolute once it is fixed
    V_DLList<DEINIT> m_deinitList;
    bool m_bVerboseFileFixed = false;
    bool m_bVerboseCeased = false;
    bool m_bVerboseHeaderWritten = false;

    unsigned int m_uTLBCodeSize = 0;
    unsigned int m_uTLBDataSize = 0;
    unsigned int m_uL1CodeCacheSize = 0;
    unsigned int m_uL1DataCacheSize = 0;
    unsigned int m_uL2CacheSize = 0;
    unsigned int m_uL3CacheSize = 0;
    unsigned int m_uL1TraceCacheSize = 0;
    unsigned int m_uProcessorCaps = 0;
    ProcessorVendor m_eProcessorVendor = VENDOR_UNKNOWN;
    ProcessorType m_eProcessorType = TYPE_UNKNOWN;
    char m_acProcessorModel[256] = "Unknown";

    double m_dProcessorSpeed = 1.0; ///< cycles per second, 1.0 until measured
    int m_bProcessorSpeedDetermined = 0;

    bool m_bPerformanceCounter = false;
    std::int64_t m_iPerformanceFrequency = 0;
    std::int64_t m_iStartCounter = 0;
    std::int64_t m_iLastCounter = 0;
};

#ifndef VL_NO_GLOBAL_NAMES
/// The system object; null before start-up and after shutdown. A program that has another `Sys` defines
/// VL_NO_GLOBAL_NAMES before it includes the library and asks V_getSystem.
extern VL_API V_System *Sys;
#endif

/// What `Sys` points to.
VL_API V_System *V_getSystem();

/// Formats printf-style into the next of 32 buffers, with at most 2047 characters (a longer result is cut).
/// The result stays valid until the 32nd further call. Safe to call from several threads once the library has
/// started.
VL_API const char *V_STR(const char *format, ...) VL_PRINTF(1, 2);
