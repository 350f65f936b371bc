// Steps that do what the tests of the command need: fail, refuse, crash, wait, and say what they did.
#include "opt/framework/kxOptInterface.h"
#include "platform/core/kxPlugIn.h"
#include "platform/sg/kxSceneInfo.h"

#include <chrono>
#include <cstdlib>
#include <thread>

namespace Kel::CliTest
{

using namespace Kel::Core;
using namespace Kel::Opt;

/// Reports itself as failed behind a change of the scene, so that a test can tell the scene before from the one after.
class kxCliFails : public kxOptBase
{
    KX_OBJECT(kxCliFails, kxOptBase)

    bool apply(kxSmartPointer<kxNode>& root) override
    {
        if (root)
            root->setName("changed by a step that failed");
        return false;
    }
    bool configure(int) override { return true; }
};

/// Fails in the presence of a node of a certain name.
class kxCliDislikes : public kxOptBase
{
    KX_OBJECT(kxCliDislikes, kxOptBase)
    static void listFields(kxFields<kxCliDislikes>& fields)
    {
        fields.add(&kxCliDislikes::_nodeName, "_nodeName", "name of the node that is disliked");
    }

    kxStringRef _nodeName;

    bool apply(kxSmartPointer<kxNode>& root) override
    {
        return !Sg::findNode(
            root, [](kxNode* node, void* name) { return node->getName() == *static_cast<kxStringRef*>(name); },
            &_nodeName);
    }
    bool configure(int) override { return true; }
};

class kxCliRefuses : public kxOptBase
{
    KX_OBJECT(kxCliRefuses, kxOptBase)

    bool apply(kxSmartPointer<kxNode>&) override { return true; }
    bool configure(int) override { return false; }
};

class kxCliCrashes : public kxOptBase
{
    KX_OBJECT(kxCliCrashes, kxOptBase)

    bool apply(kxSmartPointer<kxNode>&) override { std::abort(); }
    bool configure(int) override { return true; }
};

/// Waits to be cancelled, but not for ever; a stubborn one goes on all the same.
class kxCliWaits : public kxOptBase
{
    KX_OBJECT(kxCliWaits, kxOptBase)
    static void listFields(kxFields<kxCliWaits>& fields)
    {
        fields.add(&kxCliWaits::_stubborn, "_stubborn", "do not ask whether to stop");
    }

    bool _stubborn = false;

    bool apply(kxSmartPointer<kxNode>&) override
    {
        _optInterface->setOptStatusTitle("waiting");
        for (int i = 0; i < 6000 && (_stubborn || !_optInterface->getOptCancelState()); ++i)
        {
            _optInterface->setOptStatus(i, 6000);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return true;
    }
    bool configure(int) override { return true; }
};

enum class kxCliColour : int32_t
{
    RED = 1,
    GREEN = 4
};
const kxMetaEnum& kxMetaEnumOf(kxCliColour)
{
    static const kxMetaEnum metaEnum("kxCliColour", {{"RED", 1}, {"GREEN", 4}});
    return metaEnum;
}

/// One field of every kind that scripts set and one that they do not; counts and refuses.
class kxCliSpeaks : public kxOptBase
{
    KX_OBJECT(kxCliSpeaks, kxOptBase)
    static void listFields(kxFields<kxCliSpeaks>& fields)
    {
        fields.add(&kxCliSpeaks::_loud, "_loud", "say it twice");
        fields.add(&kxCliSpeaks::_offset, "_offset", "where to begin");
        fields.add(&kxCliSpeaks::_maxCount, "_maxCount", "how much to say");
        fields.add(&kxCliSpeaks::_share, "_share", "part of it that counts");
        fields.add(&kxCliSpeaks::_word, "_word", "what to say");
        fields.add(&kxCliSpeaks::_colour, "_colour", "how it looks");
        fields.add(&kxCliSpeaks::_type, "_type", "whom to say it to");
        fields.add(&kxCliSpeaks::_visited, "_visited", "who has heard it");
    }

    bool _loud = false;
    int32_t _offset = -3;
    uint32_t _maxCount = 12;
    float _share = 0.1f;
    kxStringRef _word{"; a \"word\""};
    kxCliColour _colour = kxCliColour::GREEN;
    kxSmartPointer<kxMetaObject> _type;
    kxSmartPointer<kxNodeList> _visited;

    bool apply(kxSmartPointer<kxNode>& root) override
    {
        count("words said", 2);
        count("words said");
        refuse("deaf", root);
        refuse("deaf", nullptr);
        _offset = 99; // reports show what the script asked for
        return true;
    }
    bool configure(int) override { return true; }
};

KX_IMPLEMENT(kxCliFails)
KX_IMPLEMENT(kxCliDislikes)
KX_IMPLEMENT(kxCliRefuses)
KX_IMPLEMENT(kxCliCrashes)
KX_IMPLEMENT(kxCliWaits)
KX_IMPLEMENT(kxCliSpeaks)

void registerClasses()
{
    kxRegisterClass<kxCliFails>("kxCliFails", "fails behind a change");
    kxRegisterClass<kxCliDislikes>("kxCliDislikes", "fails in the presence of a node");
    kxRegisterClass<kxCliRefuses>("kxCliRefuses", "refuses its settings");
    kxRegisterClass<kxCliCrashes>("kxCliCrashes", "ends the process");
    kxRegisterClass<kxCliWaits>("kxCliWaits", "waits to be cancelled");
    kxRegisterClass<kxCliSpeaks>("kxCliSpeaks", "says what it does");
}

} // namespace Kel::CliTest

KX_PLUGIN("command tests", Kel::CliTest::registerClasses)
