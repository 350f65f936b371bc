// The one list of the optimization library's classes.
#include "opt/libKXOpt.h"

#include "opt/actor/kxActorClasses.h"
#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxManager.h"
#include "opt/framework/kxOptManager.h"
#include "opt/image/kxImageClasses.h"
#include "opt/items/kxItemClasses.h"
#include "opt/items/kxItemInterface.h"
#include "opt/iterate/kxIterateDerived.h"
#include "opt/iterate/kxIterateField.h"
#include "opt/iterate/kxIterateGraph.h"
#include "opt/iterate/kxOptReplaceNode.h"
#include "opt/iterate/kxOptTraverseGraph.h"
#include "opt/iterate/kxOptVisitObject.h"
#include "opt/scene/kxRepairHierarchy.h"
#include "opt/scene/kxSceneClasses.h"
#include "opt/scene/kxStatistics.h"
#include "opt/tracking/kxListenerInterface.h"
#include "opt/tracking/kxLockInterface.h"
#include "opt/tracking/kxMessageInterface.h"
#include "platform/sg/libKXSg.h"

namespace Kel
{

using namespace Kel::Opt;

void libKXOpt_arkRegister()
{
    libKXSg_arkRegister();

    kxRegisterClass<kxInterfaced>("kxInterfaced", "base of everything that uses the services of a run");
    kxRegisterClass<kxOptInterface>("kxOptInterface", "service of a run: optimizations by name, the loaded file");
    kxRegisterClass<kxItemDataBaseList>("kxItemDataBaseList", "records of types and items");
    kxRegisterClass<kxItemInterface>("kxItemInterface", "service of a run: items by type");
    kxRegisterClass<kxListenerInterface>("kxListenerInterface", "service of a run: who hears of changes");
    kxRegisterClass<kxMessageInterface>("kxMessageInterface", "service of a run: events that wait");
    kxRegisterClass<kxLockInterface>("kxLockInterface", "service of a run: what must be left alone");
    kxRegisterClass<kxLogInterface>("kxLogInterface", "service of a run: where text goes");
    kxRegisterClass<kxManager>("kxManager", "the services of a run and their wiring");
    kxRegisterClass<kxDefaultManager>("kxDefaultManager", "manager with the library's own services");
    kxRegisterClass<kxBase>("kxBase", "base of optimizations and of the driver");
    kxRegisterClass<kxOptConfiguration>("kxOptConfiguration", "policy of a run");

    registerItemClasses();

    kxRegisterClass<kxIterateGraph>("kxIterateGraph", "walk over a scene graph");
    kxRegisterClass<kxIterateField>("kxIterateField", "cursor over the fields of a class");
    kxRegisterClass<kxIterateDerived>("kxIterateDerived", "cursor over the classes derived from one");

    kxRegisterClass<kxOptBase>("kxOptBase", "base of every optimization");
    kxRegisterClass<kxOptTraverseGraph>("kxOptTraverseGraph", "base of optimizations called for each node");
    kxRegisterClass<kxOptReplaceNode>("kxOptReplaceNode", "base of optimizations that replace nodes");
    kxRegisterClass<kxOptVisitObject>("kxOptVisitObject", "base of optimizations called for each object of a type");
    kxRegisterClass<kxRepairHierarchy>("kxRepairHierarchy", "makes the links between parents and children agree");
    kxRegisterClass<kxGenericNodeStatistics>("kxGenericNodeStatistics", "statistics of one node type");
    kxRegisterClass<kxGenericNodeStatisticsList>("kxGenericNodeStatisticsList", "list of node statistics");
    kxRegisterClass<kxGenericAttrStatistics>("kxGenericAttrStatistics", "statistics of one attribute type");
    kxRegisterClass<kxGenericAttrStatisticsList>("kxGenericAttrStatisticsList", "list of attribute statistics");
    kxRegisterClass<kxAllNodeStatistics>("kxAllNodeStatistics", "statistics of all node types");
    kxRegisterClass<kxAllAttrStatistics>("kxAllAttrStatistics", "statistics of all attribute types");
    kxRegisterClass<kxStatistics>("kxStatistics", "prints what the scene holds, by type, with use and depth");
    registerSceneClasses();

    registerImageClasses();

    registerActorClasses();

    // Last: it loads the plug-ins, whose classes may derive from any of the above.
    kxRegisterClass<kxOptManager>("kxOptManager", "runs an optimization script");
}

} // namespace Kel
