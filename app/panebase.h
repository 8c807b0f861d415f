#ifndef PANEBASE_H
#define PANEBASE_H

// Every screen of the stack: told when it comes to the front and when it leaves.
class PaneBase {
public:
    virtual ~PaneBase() = default;
    // Screens override this to re-read caches and request fresh data; call the base first.
    virtual void paneAboutToShow() { shown = true; }
    virtual void paneAboutToHide() { shown = false; }

protected:
    bool shown = false;
};

#endif
