// The settings page as the browser draws it, built from the unit's UI XML texts.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

// One language's page: the tabs of the merged style text in document order,
// each control with its label looked up in the language text (units and the
// switch states in the common text), the page settings of the UI initial
// configuration, and what was left out. A control whose id the driver does
// not offer is left out (with the reason), so that the page never shows a
// setting the controller would refuse outright; a label key without a text
// is shown as the key itself and listed. The model is also what a change
// from the page is checked against: only the page's ids, only the values its
// controls can produce.
class WebPage {
public:
    enum class Kind { Slider, List, Switch, Button };

    struct Option {
        int value = 0;
        std::string label;
    };

    struct Control {
        Kind kind = Kind::Slider;
        int id = 0;
        std::string labelKey;
        std::string label;
        int min = 0; // slider
        int max = 0;
        int step = 1;
        std::string unit;            // slider: the unit's text ("" without one)
        std::vector<Option> options; // list
        int on = 1;                  // switch
        int off = 0;
        int value = 0; // button
        // Active only while parameter whenId holds one of whenValues.
        int whenId = -1;
        std::vector<int> whenValues;
    };

    struct Tab {
        int key = 0;
        std::string name;
        std::string labelKey;
        std::string label;
        std::vector<Control> controls;
    };

    struct Omitted {
        int id = 0;
        int tab = 0;
        std::string why;
    };

    // What the driver offers: the ids it reads back, and the set-only ones
    // (commands such as one-push focus, offered as buttons only).
    struct OfferedIds {
        std::set<int> readable;
        std::set<int> setOnly;
    };

    // Builds the page; false with `error` when a text is not the XML the page
    // needs (a control without id, a slider without range, ...). Language
    // and common texts may be empty: every label then shows its key.
    bool build(const std::string& style, const std::string& language, const std::string& common,
               const std::string& init, const OfferedIds& offered, std::string& error);

    const std::vector<Tab>& tabs() const { return m_vecTabs; }
    const std::map<std::string, std::string>& commonTexts() const { return m_mapCommon; }
    const std::vector<std::string>& missingLabels() const { return m_vecMissing; }
    const std::vector<Omitted>& omitted() const { return m_vecOmitted; }
    int openTab() const { return m_nOpenTab; }
    int refreshSeconds() const { return m_nRefreshSeconds; }
    // Ids the page reads before it draws, in increasing order.
    const std::vector<int>& loadIds() const { return m_vecLoadIds; }

    // The control of `id`, or nullptr when the page has none.
    const Control* find(int id) const;
    // Ids the page reads back (every control but buttons), in page order.
    std::vector<int> readableIds() const;
    // True when the page's control of `id` can produce `value`; else false
    // with `why`.
    bool check(int id, int value, std::string& why) const;

private:
    std::string text(const std::map<std::string, std::string>& texts, const std::string& key);

    std::vector<Tab> m_vecTabs;
    std::map<std::string, std::string> m_mapCommon;
    std::vector<std::string> m_vecMissing;
    std::vector<Omitted> m_vecOmitted;
    int m_nOpenTab = 0;
    int m_nRefreshSeconds = 0;
    std::vector<int> m_vecLoadIds;
};
