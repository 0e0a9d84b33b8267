#ifndef FWVET_APP_BSPINTTRACE_H
#define FWVET_APP_BSPINTTRACE_H

// Hooks through which a board records its interrupts and follows its clock. Nothing on this build raises any.

/// Recorder of one interrupt.
using BSP_VOIDINTTRACE = void (*)(unsigned long ulIntVect, unsigned long ulInPara, unsigned long ulTableNum,
                                  unsigned long ulIntState);

/// Called at a clock interrupt.
using PFUN_CLKINTHOOK = void (*)();

/// The registered recorder and hook; null at start.
extern BSP_VOIDINTTRACE g_BspIntTraceRecord;
extern PFUN_CLKINTHOOK g_BspClkIntHook;

/// Calls of BSP_IntTraceInfoTest so far.
extern unsigned long g_ulBSPIntTraceTesta;

/// Stores the recorder. A null argument keeps the one there is.
void BSP_RecordIntTraceRegister(BSP_VOIDINTTRACE pstRegHook);

/// Hands the four values to the registered recorder, if there is one.
void BSP_RecordIntTraceInfo(unsigned long ulIntVect, unsigned long ulInPara, unsigned long ulTableNum,
                            unsigned long ulIntState);

/// Stores the clock hook. Null removes the one there is.
void BSP_ClockIntHookRegister(PFUN_CLKINTHOOK pFun);

/// Calls the clock hook, if there is one.
void BSP_ClockIntHookCall();

/// A recorder for tests: adds 1 to g_ulBSPIntTraceTesta and ignores its arguments.
void BSP_IntTraceInfoTest(unsigned long ulIntVect, unsigned long ulInPara, unsigned long ulTableNum,
                          unsigned long ulIntState);

#endif
