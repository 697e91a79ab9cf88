// Uses every public class and function family through the umbrella header only.
#include <cstdio>

#include "common/common.h"

int main()
{
    CZRString sText("consumer");
    sText += '/';
    sText.Format("%s %d", sText.GetString(), 1);
    CZRString const sCut = sText.Mid(0, 8) + "!";

    CZRPath Path("maps\\town\\hall.dat");
    Path.AddExtension(".bak");

    CZRClassType const Base("Base");
    CZRClassType Leaf("Leaf", Base);

    CZRMutex Mutex;
    Mutex.Lock();
    Mutex.Unlock();

    CZRMailSlot const Slot;

    void * pBlock = MEM_Alloc(4);
    MEM_Zero(pBlock, 4);
    MEM_Free(pBlock);

    bool const bAllRight = STR_strcmp(sCut, "consumer!") == 0 && Path.GetNumPathComponents() == 3 &&
                           !Slot.IsOpened() && Slot.GetMaxMessageSize() == 0 &&
                           Leaf.IsDerivedFrom(Base) &&
                           Leaf.GetFullName().Compare("Base/Leaf/") == 0;
    Debug_Printf("consumer: %s\n", bAllRight ? "ok" : "wrong");
    return bAllRight ? 0 : 1;
}
