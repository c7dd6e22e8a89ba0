#include "primitives/values/DList.h"

#include "ValuesSupport.h"

using Links = std::vector<DLink*>;

// Walks the list both ways and checks its invariants.
static void expect_links(const DList& list, const Links& expected) {
    ASSERT_EQ(list.count(), static_cast<int32_t>(expected.size()));
    DLink *forward = list.head(), *backward = list.tail();
    for (size_t i = 0; i < expected.size(); ++i, forward = forward->next(), backward = backward->prev()) {
        ASSERT_EQ(forward, expected[i]);
        ASSERT_EQ(backward, expected[expected.size() - 1 - i]);
        ASSERT_EQ(forward->dlist(), &list);
    }
    ASSERT_TRUE(forward == nullptr && backward == nullptr);
}

// Every operation at random places of two lists, beside two vectors that say what must come out.
TEST(DList, BehavesLikeAModelUnderRandomOperations) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto dice = [&](size_t n) { return random() % n; };
        DList lists[2];
        Links models[2];
        for (int step = 0; step < 300; ++step) {
            const size_t which = dice(2);
            DList& list = lists[which];
            Links& model = models[which];
            Links& source = models[1 - which];
            const size_t at = model.empty() ? 0 : dice(model.size());
            const auto place = [&](size_t i) { return model.begin() + static_cast<std::ptrdiff_t>(i); };
            DLink* fresh = nullptr;
            switch (model.empty() ? dice(4) : dice(8)) {
            case 0: model.push_back(list.append(&list)); break;
            case 1: model.insert(model.begin(), list.insert(&list)); break;
            case 2: list.insert_at(fresh = new DLink, nullptr), model.push_back(fresh); break;
            case 3:
                list.dlistcat(&lists[1 - which]);
                model.insert(model.end(), source.begin(), source.end());
                source.clear();
                break;
            case 4: list.insert_at(fresh = new DLink, model[at]), model.insert(place(at), fresh); break;
            case 5: model[at]->append(fresh = new DLink), model.insert(place(at + 1), fresh); break;
            case 6: delete model[at], model.erase(place(at)); break;
            case 7: // an unlinked link can be used again, in either list
                EXPECT_EQ(model[at]->unlink(), at + 1 < model.size() ? model[at + 1] : nullptr);
                EXPECT_EQ(model[at]->head(), nullptr);
                lists[1 - which].insert(model[at]), source.insert(source.begin(), model[at]);
                model.erase(place(at));
                break;
            }
            ASSERT_NO_FATAL_FAILURE(expect_links(lists[0], models[0]));
            ASSERT_NO_FATAL_FAILURE(expect_links(lists[1], models[1]));
        }
        for (Links& model : models)
            for (DLink* link : model) delete link;
        expect_links(lists[0], {});
    }
}

TEST(DListDeath, MisuseNamesTheBrokenRule) {
    DList list, other;
    DLink alone, elsewhere;
    other.append(&elsewhere);
    EXPECT_DEATH(list.append(&elsewhere), "expression \\(dlink->_dlist == NULL\\)");
    EXPECT_DEATH(list.insert_at(&alone, &elsewhere), "expression \\(location->_dlist == this\\)");
    other.set_tail(nullptr); // its list starts anew
    other.append(&alone);
    EXPECT_EQ(other.count(), 1);
}
