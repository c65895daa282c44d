/* What the host does; each case makes its own objects. */
#pragma once

void ListsMonitorsAndWindows(void);
void TakesSettings(void);
void SharesAMonitor(void);
void SharesAWindow(void);
void SharesToAQueue(void);
void OutlivesExceptions(void);
