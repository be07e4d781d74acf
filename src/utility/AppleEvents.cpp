#include "utility/AppleEvents.h"

#ifndef Q_OS_MACOS

#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <utility>

namespace Utility {

namespace {

// The data of a plain descriptor or, in an event, the data of its target.
struct Record
{
    std::string data;
    DescType targetType = typeNull;
    AEEventClass eventClass = 0;
    AEEventID eventID = 0;
};

AppleEventHost::SystemProcess systemProcess;
int roomForDescriptors = std::numeric_limits<int>::max();
int inUse = 0;

OSErr make(DescType type, Record record, AEDesc *result)
{
    if (!result)
        return paramErr;
    *result = {typeNull, nullptr};
    if (inUse >= roomForDescriptors)
        return memFullErr;
    *result = {type, new Record(std::move(record))};
    ++inUse;
    return noErr;
}

const Record *recordOf(const AEDesc *descriptor)
{
    return descriptor ? static_cast<const Record *>(descriptor->dataHandle) : nullptr;
}

bool isSystemProcess(const Record &event)
{
    ProcessSerialNumber process;
    if (event.targetType != typeProcessSerialNumber || event.data.size() != sizeof process)
        return false;
    std::memcpy(&process, event.data.data(), sizeof process);
    return process.highLongOfPSN == 0 && process.lowLongOfPSN == kSystemProcess;
}

} // namespace

OSErr AECreateDesc(DescType type, const void *data, Size size, AEDesc *result)
{
    if (size < 0 || (size > 0 && !data))
        return paramErr;
    Record record;
    record.data.assign(static_cast<const char *>(data), static_cast<std::size_t>(size));
    return make(type, std::move(record), result);
}

OSErr AECreateAppleEvent(AEEventClass eventClass, AEEventID eventID, const AEAddressDesc *target, AEReturnID,
                         AETransactionID, AppleEvent *result)
{
    const Record *address = recordOf(target);
    if (!address)
        return errAENotAEDesc;
    return make(typeAppleEvent, {address->data, target->descriptorType, eventClass, eventID}, result);
}

OSStatus AESend(const AppleEvent *event, AppleEvent *reply, AESendMode, AESendPriority, qint32, AEIdleUPP, AEFilterUPP)
{
    if (reply)
        *reply = {typeNull, nullptr};
    const Record *record = recordOf(event);
    if (!record || event->descriptorType != typeAppleEvent)
        return errAENotAEDesc;
    if (!systemProcess || !isSystemProcess(*record))
        return procNotFound;
    systemProcess(record->eventClass, record->eventID);
    return noErr;
}

OSErr AEDisposeDesc(AEDesc *descriptor)
{
    if (!descriptor)
        return paramErr;
    if (const std::unique_ptr<const Record> record{recordOf(descriptor)})
        --inUse;
    *descriptor = {typeNull, nullptr};
    return noErr;
}

namespace AppleEventHost {

void setSystemProcess(SystemProcess receiver)
{
    systemProcess = std::move(receiver);
}

void setRoomForDescriptors(int count)
{
    roomForDescriptors = count;
}

int descriptorsInUse()
{
    return inUse;
}

} // namespace AppleEventHost

} // namespace Utility

#endif

namespace Utility {

qint32 SendAppleEventToSystemProcess(unsigned int eventID)
{
    const ProcessSerialNumber process = {0, kSystemProcess};
    AEAddressDesc address = {typeNull, nullptr};
    AppleEvent event = {typeNull, nullptr};
    AppleEvent reply = {typeNull, nullptr};

    qint32 firstError = AECreateDesc(typeProcessSerialNumber, &process, sizeof process, &address);
    if (firstError != noErr)
        return firstError;
    const auto note = [&firstError](qint32 error) {
        if (firstError == noErr)
            firstError = error;
        return error == noErr;
    };

    const bool created =
        note(AECreateAppleEvent(kCoreEventClass, eventID, &address, kAutoGenerateReturnID, kAnyTransactionID, &event));
    note(AEDisposeDesc(&address));
    if (!created)
        return firstError;

    const bool sent = note(AESend(&event, &reply, kAENoReply, kAENormalPriority, kAEDefaultTimeout, nullptr, nullptr));
    note(AEDisposeDesc(&event));
    if (sent)
        note(AEDisposeDesc(&reply));
    return firstError;
}

} // namespace Utility
