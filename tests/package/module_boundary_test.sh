#!/bin/sh
# What orvcluster.dll shows the loader: it imports only Windows system DLLs
# and orvclass_mini.dll (the compiler's runtime is linked in), and it exports
# the facade, the bindings, the failover classes and the free functions.
# Usage: module_boundary_test.sh OBJDUMP DLL
set -u
objdump=$1
dll=$2
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

table=$("$objdump" -p "$dll") || { echo "FAIL: cannot read $dll"; exit 1; }

allowed="kernel32.dll advapi32.dll msvcrt.dll ws2_32.dll user32.dll ole32.dll oleaut32.dll
psapi.dll netapi32.dll mpr.dll version.dll orvclass_mini.dll"
imports=$(printf '%s\n' "$table" | sed -n 's/^[[:space:]]*DLL Name: //p' | tr 'A-Z' 'a-z')
[ -n "$imports" ] || fail "no import table found"
for module in $imports; do
  case " $(echo $allowed) " in
    *" $module "*) ;;
    *) fail "imports $module" ;;
  esac
done

# The in-house class library is imported at link time, not loaded by name.
printf '%s\n' "$imports" | grep -qx 'orvclass_mini.dll' || fail "does not import orvclass_mini.dll"

exports=$(printf '%s\n' "$table" | sed -n '/Ordinal\/Name Pointer/,/^$/p')
for symbol in \
  OrvGetComputerNameA OrvGetComputerNameW \
  _Z18OrvGetComputerNamePwPm _Z18OrvGetComputerNameB5cxx11v _Z25SetVirtualNameForNodeNameb \
  _ZN15OrvComputerName14GetInstanceRefEv \
  _ZN7Cluster11GetInstanceEPKw _ZN7Cluster14OutputDebugMsgEPKwz \
  _ZN7Cluster23MachineMightBeClusteredEPKw _ZN7Cluster9IsClusterEPKw \
  _ZN7Cluster14IsOrvClusteredEv _ZN7Cluster23GetOrvVirtualServerNameEPwPm \
  _ZN7Cluster20GetMachineNodeStatusEPKwPb _ZNK7Cluster4OpenEv \
  _ZN7Cluster4IsIpERKNSt7__cxx1112basic_stringIwSt11char_traitsIwESaIwEEE \
  _ZTV7Cluster _ZTV11MSCSCluster _ZTV15ClusterResource _ZTV19ClusterDiskResource \
  _ZN11MSCSCluster11GetInstanceEPKw _ZN15MSCSClusterGlue11GetInstanceEv _ZN12ResourceGlue11GetInstanceEv \
  _ZNK19ClusterPropertyList8GetValueEPKwRm _ZN11CProcessOps16IsProcessRunningEPKw \
  _ZN7Cluster13CWIZ_InitDataEPwS0_S0_S0_S0_PKw _ZN7Cluster15RestoreDatabaseEPKwiS1_; do
  printf '%s\n' "$exports" | grep -q "[[:space:]]$symbol\$" || fail "does not export $symbol"
done

if [ "$failures" -eq 0 ]; then
  echo "orvcluster.dll imports: $(echo $imports)"
  echo "1 passed, 0 failed"
  exit 0
fi
echo "0 passed, 1 failed"
exit 1
