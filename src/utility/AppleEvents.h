#pragma once

// The Apple Event Manager: the system's own on macOS, and elsewhere a small one of ours with the same names and
// contract, which serves this process alone.

#include <QtGlobal>

#ifdef Q_OS_MACOS

#include <Carbon/Carbon.h>

#else

#include <functional>

namespace Utility {

using OSErr = qint16;
using OSStatus = qint32;
using DescType = quint32;
using AEEventClass = quint32;
using AEEventID = quint32;
using AEReturnID = qint16;
using AETransactionID = qint32;
using AESendMode = qint32;
using AESendPriority = qint16;
using AEIdleUPP = void (*)();
using AEFilterUPP = void (*)();
using Size = qintptr;

struct ProcessSerialNumber
{
    quint32 highLongOfPSN;
    quint32 lowLongOfPSN;
};

// What the handle points to belongs to the manager until AEDisposeDesc.
struct AEDesc
{
    DescType descriptorType;
    void *dataHandle;
};
using AEAddressDesc = AEDesc;
using AppleEvent = AEDesc;

constexpr quint32 fourCharacterCode(const char (&text)[5])
{
    return quint32(quint8(text[0])) << 24 | quint32(quint8(text[1])) << 16 | quint32(quint8(text[2])) << 8
        | quint32(quint8(text[3]));
}

constexpr DescType typeNull = fourCharacterCode("null");
constexpr DescType typeProcessSerialNumber = fourCharacterCode("psn ");
constexpr DescType typeAppleEvent = fourCharacterCode("aevt");
constexpr AEEventClass kCoreEventClass = fourCharacterCode("aevt");
constexpr quint32 kSystemProcess = 1;
constexpr AEReturnID kAutoGenerateReturnID = -1;
constexpr AETransactionID kAnyTransactionID = 0;
constexpr AESendMode kAENoReply = 1;
constexpr AESendPriority kAENormalPriority = 0;
constexpr qint32 kAEDefaultTimeout = -1;

constexpr OSErr noErr = 0;
constexpr OSErr paramErr = -50;
constexpr OSErr memFullErr = -108;
constexpr OSErr procNotFound = -600;
constexpr OSErr errAENotAEDesc = -1704;

// A descriptor that could not be made is left null; disposing of a null one succeeds.
OSErr AECreateDesc(DescType type, const void *data, Size size, AEDesc *result);
OSErr AECreateAppleEvent(AEEventClass eventClass, AEEventID eventID, const AEAddressDesc *target, AEReturnID returnID,
                         AETransactionID transactionID, AppleEvent *result);
OSStatus AESend(const AppleEvent *event, AppleEvent *reply, AESendMode mode, AESendPriority priority,
                qint32 timeOutInTicks, AEIdleUPP idleProc, AEFilterUPP filterProc);
OSErr AEDisposeDesc(AEDesc *descriptor);

// What stands for the rest of the system around our manager. One thread only.
namespace AppleEventHost {

using SystemProcess = std::function<void(AEEventClass eventClass, AEEventID eventID)>;

// Until one is set, nobody is there and AESend says so.
void setSystemProcess(SystemProcess receiver);
// Making one more descriptor than this fails for want of memory.
void setRoomForDescriptors(int count);
int descriptorsInUse();

} // namespace AppleEventHost

} // namespace Utility

#endif

namespace Utility {

// Sends one event of the core class to the system process and does not wait for an answer. Returns the error of the
// first call that failed, or 0.
qint32 SendAppleEventToSystemProcess(unsigned int eventID);

} // namespace Utility
