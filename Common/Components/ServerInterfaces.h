#pragma once

#include <cstdint>
#include <string_view>

#include "Common/Components/IComponent.h"
#include "Common/Nodes/VXNodePtr.h"

// The interfaces of the server's components that this library calls or
// implements.

// Takes queries: the preparer, and the executing component behind it.
struct IQueryProcessor : IComponent {
  static inline const GUID kIid = MakeGuid(u"{3C1D9A52-7E0B-4F6A-9D21-5B8E4A7C0D21}");
  virtual HRESULT ProcessQuery(const VXNodePtr& query) = 0;
  virtual HRESULT CancelQuery(const VXNodePtr& cookie) = 0;
};

// Told that a client fetched a further page of a search: the membership
// preprocessor keeps the search's session alive. `request` names the session
// by the GUID attribute `SessionId` or, failing that, `Cookie`.
struct IResultNotification : IComponent {
  static inline const GUID kIid = MakeGuid(u"{41FE1FA1-DC9D-4944-A8C8-2713EE1BEFC8}");
  virtual HRESULT NotifyGetResult(const VXNodePtr& request) = 0;
};

// Told of configuration changes.
struct IConfigObserver : IComponent {
  static inline const GUID kIid = MakeGuid(u"{3C1D9A52-7E0B-4F6A-9D21-5B8E4A7C0D22}");
  virtual HRESULT OnModify(const VXNodePtr& change) = 0;
  virtual HRESULT OnAdded(const VXNodePtr& change) = 0;
  virtual HRESULT OnRemoved(const VXNodePtr& change) = 0;
};

// Told when a data source's state changes.
struct ITriggerObserver : IComponent {
  static inline const GUID kIid = MakeGuid(u"{3C1D9A52-7E0B-4F6A-9D21-5B8E4A7C0D23}");
  virtual HRESULT OnTriggered(const VXNodePtr& trigger) = 0;
};

// "DataSourceManager": keeps observers of the data sources.
struct IDataSourceManager : IComponent {
  static inline const GUID kIid = MakeGuid(u"{3C1D9A52-7E0B-4F6A-9D21-5B8E4A7C0D24}");
  virtual HRESULT AddObserver(ITriggerObserver* observer) = 0;
};

// "DataSourceManager", a second interface of the same named instance
// (QueryInterface): the data sources by id. The %DB_NAME% processor asks it
// while it builds its table of databases, never while it prepares a request.
struct IDataSources : IComponent {
  static inline const GUID kIid = MakeGuid(u"{77079E30-D709-4D7C-9003-C07473745842}");
  // The node of the data source `id`: a managed object's GUID as text (the
  // library passes format 0, "{0DD265D7-9C92-4FC0-9CBE-32D691746561}"). An
  // id that reads as a GUID is compared as one (any text form, any case),
  // any other id exactly.
  //
  // `flags`: the library always passes 1, the data source's own node with
  // its children.
  //
  // Success with `*out` set: the node has `db` (string, the database's
  // name), `DatabaseSchema` (integer: the schema version of that database)
  // and `Enabled` (boolean), and may have children with `db` and
  // `DatabaseSchema` of their own: further databases of the same data
  // source. The caller owns `*out` and may keep it; the implementer gives a
  // node (or a copy) that nobody else changes.
  // Success with `*out` left null: no data source has that id.
  // A failing status: the caller raises it (the table is not built).
  virtual HRESULT GetDataSource(std::u16string_view id, VXNodePtr* out, uint32_t flags) = 0;
};

// A subscription to configuration changes, inactive until started.
struct IConfigSubscription : IComponent {
  static inline const GUID kIid = MakeGuid(u"{3C1D9A52-7E0B-4F6A-9D21-5B8E4A7C0D25}");
  virtual HRESULT Start() = 0;
};

// "ConfigServer.Proxy": subscriptions to configuration paths.
struct IConfigSubscriptions : IComponent {
  static inline const GUID kIid = MakeGuid(u"{B3BE9604-1352-4DAB-B413-D37764C0CE97}");
  // `filter` is a FilterByPath node, `subscription` a SubscribeConfig node.
  virtual HRESULT Subscribe(const VXNodePtr& filter, const VXNodePtr& subscription, IConfigObserver* observer,
                            IConfigSubscription** out) = 0;
};

// The continuation of a configuration search.
struct IConfigCursor : IComponent {
  static inline const GUID kIid = MakeGuid(u"{3C1D9A52-7E0B-4F6A-9D21-5B8E4A7C0D26}");
};

// "ConfigServer.Proxy" and "Base.AppConfigStorage": configuration nodes by
// path. `filter` is a node named FilterByPath with `NodePath` (names joined
// by "\"), `IsParent` (the children of the node at the path, not the node)
// and `MaxDepth` (levels of children that come along).
struct IConfigNodes : IComponent {
  static inline const GUID kIid = MakeGuid(u"{3C1D9A52-7E0B-4F6A-9D21-5B8E4A7C0D27}");
  // Fills at most `count` nodes into `nodes`; `returned` tells how many. With
  // a `cursor`, the rest of the search can be had from FindMore.
  virtual HRESULT FindNodes(const VXNodePtr& filter, IConfigCursor** cursor, VXNodePtr* nodes, uint32_t count,
                            uint32_t* returned) = 0;
  virtual HRESULT FindMore(IConfigCursor* cursor, VXNodePtr* nodes, uint32_t count, uint32_t* returned) = 0;
};

// The answer of "Security.PermissionsChecker" for one caller and permission.
enum AccessCheckResult : int32_t {
  kAccessMissing = 0,  // the caller does not hold the permission
  kAccessLimited = 1,  // it holds for the managed objects of the scope only
  kAccessFull = 2,     // it holds without limit
};

// "Security.PermissionsChecker": the rights of a caller.
struct IPermissionsChecker : IComponent {
  static inline const GUID kIid = MakeGuid(u"{B697DCC3-8924-46CE-A06C-C3795B5CCE70}");
  // Whether the caller of `token` holds the permission `permission`. Fills
  // `result`; for kAccessLimited, `scope` gets a node whose children are the
  // managed objects, each carrying its GUID (node library type 13) in an
  // attribute whose name the caller knows by configuration. A failure status
  // leaves both unspecified.
  virtual HRESULT CheckAccess(const VXNodePtr& token, const char16_t* permission,
                              AccessCheckResult* result, VXNodePtr* scope) = 0;
};
