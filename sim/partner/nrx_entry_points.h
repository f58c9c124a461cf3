#pragma once

// Every entry point of nrxapi_mt.dll, in the order of nrx_api.h:
// SIMNRX_ENTRY_POINTS(X) applies X to each name.
#define SIMNRX_ENTRY_POINTS(X)                                                                                    \
    X(NRXApiInit) X(NRXApiExit) X(NRXApiGetLastError) X(NRXApiGetLastErrCode) X(NRXClusterOpenLocal)              \
    X(NRXClusterOpen) X(NRXClusterClose) X(NRXClusterConfOpen) X(NRXClusterConfClose) X(NRXFillCntlInfo)          \
    X(NRXObjGet) X(NRXObjGetState) X(NRXObjGetNames) X(NRXObjSetAttribute) X(NRXObjGetAttribute)                  \
    X(NRXObjGetDefinition) X(NRXFreeCntlInfo) X(NRXFreeStateInfo) X(NRXFreeStr) X(NRXFreeObject)                  \
    X(NRXFreeObjNames) X(NRXFreeError) X(NRXFreeAttr) X(NRXFreeObjAttr) X(NRXAttrFillStrVector)                   \
    X(NRXAttrFillStrAssoc) X(NRXAttrFillKeylist) X(NRXAttrFillStr) X(NRXAttrGetStr) X(NRXAttrFillInt)             \
    X(NRXResAdd) X(NRXResDelete) X(NRXResOnline) X(NRXResOffline) X(NRXResGetType) X(NRXResProbe)                 \
    X(NRXResGetGrpName) X(NRXResLink) X(NRXResUnlink) X(NRXResGetChildList) X(NRXResGetDependentList)             \
    X(NRXResAttrMakeGlobal) X(NRXResAttrMakeLocal) X(NRXResTypeAdd) X(NRXResTypeDelete) X(NRXResGetParentList)    \
    X(NRXResClear) X(NRXGrpAdd) X(NRXGrpDelete) X(NRXGrpOnline) X(NRXGrpOffline) X(NRXGrpSwitch) X(NRXGrpFreeze)  \
    X(NRXGrpUnfreeze) X(NRXGrpFlush) X(NRXGrpClear) X(NRXGrpEnable) X(NRXGrpDisable) X(NRXGrpAutoEnable)          \
    X(NRXGrpEnableResources) X(NRXGrpDisableResources) X(NRXGrpLink) X(NRXGrpUnlink) X(NRXGrpGetChildList)        \
    X(NRXGrpGetParentList) X(NRXGrpGetDependentList) X(NRXGrpClearadminwait) X(NRXGrpIgnore)
