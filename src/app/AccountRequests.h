#pragma once

class OverlayStateModel;
class QString;
class SettingsStore;

// The requests to the worker that act on the account as a whole. They go to the worker that the
// program was built for, whatever WORKER_URL says, with the stored access token. None is repeated;
// one that is under way when the program ends is abandoned.

/// Writes what the worker keeps about the user into a file among the downloads. How that ended
/// stands in the overlay's error field.
void exportAccountData(const SettingsStore& settings, OverlayStateModel& overlay);

/// Deletes the account, and signs out once that is done. What lies on this machine stays. A failure
/// stands in the overlay's error field, and leaves the user signed in.
void deleteAccount(const SettingsStore& settings, OverlayStateModel& overlay);

/// Ends the session on the server. Nobody hears whether that worked.
void endServerSession(const QString& accessToken);
