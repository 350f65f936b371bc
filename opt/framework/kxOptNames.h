// The names that the optimization library builds on.
#pragma once

#include "platform/core/kxFields.h"
#include "platform/core/kxObjectList.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{
class kxNode;
class kxNodeList;
class kxNonRefCountedNodeList;
class kxGroup;
class kxSceneInfo;
class kxAnimationDatabase;
} // namespace Kel::Sg

namespace Kel::Opt
{

using namespace Kel::Core;
using namespace Kel::Sg;

class kxInterfaced;
class kxOptInterface;
class kxItemInterface;
class kxListenerInterface;
class kxMessageInterface;
class kxLockInterface;
class kxLogInterface;
class kxOptBase;
class kxOptConfiguration;
class kxOptManager;
class kxStatistics;
class kxRunObserver;

} // namespace Kel::Opt
