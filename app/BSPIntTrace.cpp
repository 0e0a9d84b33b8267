#include "app/BSPIntTrace.h"

BSP_VOIDINTTRACE g_BspIntTraceRecord = nullptr;
PFUN_CLKINTHOOK g_BspClkIntHook = nullptr;
unsigned long g_ulBSPIntTraceTesta = 0;

void BSP_RecordIntTraceRegister(BSP_VOIDINTTRACE pstRegHook) {
  if (pstRegHook != nullptr) g_BspIntTraceRecord = pstRegHook;
}

void BSP_RecordIntTraceInfo(unsigned long ulIntVect, unsigned long ulInPara, unsigned long ulTableNum,
                            unsigned long ulIntState) {
  if (g_BspIntTraceRecord != nullptr) g_BspIntTraceRecord(ulIntVect, ulInPara, ulTableNum, ulIntState);
}

void BSP_ClockIntHookRegister(PFUN_CLKINTHOOK pFun) {
  g_BspClkIntHook = pFun;
}

void BSP_ClockIntHookCall() {
  if (g_BspClkIntHook != nullptr) g_BspClkIntHook();
}

void BSP_IntTraceInfoTest(unsigned long /*ulIntVect*/, unsigned long /*ulInPara*/,
                          unsigned long /*ulTableNum*/, unsigned long /*ulIntState*/) {
  ++g_ulBSPIntTraceTesta;
}
