// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/orderrules.h"
#include "platform/product/mediaorder.h"
#include "platform/store/eparammedia.h"
#include "platform/store/paramdescriptor.h"
#include "tests/fuzz/fuzz.h"

/// An order to the media daemon: whatever comes, its answer fits into the parameter that carries it.

void Fuzz::writeSeeds(const QString &folder)
{
    writeSeed(folder, "copy",
              R"({"id":"7","verb":"copy","clip":"take.mov","from":"/media/A","to":"/media/B"})");
    writeSeed(folder, "delete", R"({"verb":"delete","clip":"../take.mov","from":"/media/A"})");
    writeSeed(folder, "control", R"({"id":"\u007f","verb":"x"})");
    writeSeed(folder, "report",
              R"([{"path":"/media/A","label":"A","state":"active","percent_free":50,"clips":3}])");
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    CreateDescriptors();
    const std::string text = Fuzz::text(data, size);
    std::string id;
    std::string problem;
    const auto order = MediaOrder::parse(text, id, problem);
    Fuzz::mustHold(order || !problem.empty(), "a refusal has its reason");
    if (order) {
        Fuzz::mustHold(order->clip.find('/') == std::string::npos, "no name leads out of its medium");
        problem = whyRefused(*order, {}, {});
    }
    std::string reason;
    const std::string answer = MediaOrderState{id, "refused", 0, problem}.print();
    Fuzz::mustHold(GetDescriptor(eParam_MediaOrderState)->check(StoreValue::fromString(answer), reason),
                   "an answer fits");
    MediaOrderState::parse(text);
    MediumReport::parse(text);
    return 0;
}
