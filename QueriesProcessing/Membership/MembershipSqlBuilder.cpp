#include "QueriesProcessing/Membership/MembershipSqlBuilder.h"

#include "Common/Logger.h"
#include "Common/SqlText.h"
#include "Common/Text.h"

namespace QueriesProcessing {
namespace {

constexpr std::u16string_view kMembersToken = u"%MEMBERS%";
constexpr std::u16string_view kColumnNameToken = u"%COLUMN_NAME%";
constexpr std::u16string_view kSessionsToken = u"%SESSIONS%";
constexpr std::u16string_view kRowOpen = u"(N'";
constexpr std::u16string_view kRowClose = u"')";
constexpr std::u16string_view kStatementEnd = u";\n";

// `text` cut at every `token`: n tokens give n + 1 pieces.
std::vector<std::u16string_view> Split(std::u16string_view text, std::u16string_view token) {
  std::vector<std::u16string_view> pieces;
  for (size_t start = 0;;) {
    const size_t found = text.find(token, start);
    if (found == std::u16string_view::npos) {
      pieces.push_back(text.substr(start));
      return pieces;
    }
    pieces.push_back(text.substr(start, found - start));
    start = found + token.size();
  }
}

void AppendName(std::u16string& out, std::u16string_view name) {
  // Most names hold no quote: they are copied as they are, without the
  // temporary that the escaping makes.
  if (name.find(u'\'') == std::u16string_view::npos) {
    out += name;
  } else {
    out += EscapeStringValue(name);
  }
}

// Appends up to `count` rows from `next` on, joined by ",", and advances it.
void AppendRows(std::u16string& out, MemberSet::const_iterator& next, MemberSet::const_iterator end,
                size_t count) {
  for (size_t i = 0; i < count && next != end; ++i, ++next) {
    if (i != 0) out += u',';
    out += kRowOpen;
    AppendName(out, *next);
    out += kRowClose;
  }
}

// The size of the inserts of `members`: exact but for the doubled quotes,
// for which a quarter more room is left. Room that is never written costs
// nothing (its pages are never touched); a short estimate costs one growth.
size_t InsertSizeEstimate(const MemberSet& members, size_t statementSize, size_t batchSize) {
  if (members.empty()) return 0;
  const size_t rowExtra = kRowOpen.size() + kRowClose.size() + 1;
  const size_t statements = (members.size() + batchSize - 1) / batchSize;
  return members.textSize() / 4 * 5 + members.size() * rowExtra +
         statements * (statementSize + kStatementEnd.size());
}

}  // namespace

std::u16string CMembershipSqlBuilder::SessionIdText(const GUID& sessionId) {
  return FormatGuid(sessionId, 0);
}

std::u16string CMembershipSqlBuilder::TableName(const GUID& sessionId, bool isExclusive) const {
  std::u16string name = config_.tableNameTemplate;
  ReplaceAll(name, config_.inclusiveAlias, isExclusive ? u"NotInGroup" : u"InGroup");
  ReplaceAll(name, config_.sessionIdAlias, SessionIdText(sessionId));
  return name;
}

std::u16string CMembershipSqlBuilder::SessionStatement(std::u16string_view templateText,
                                                       const GUID& sessionId) const {
  std::u16string text(templateText);
  ReplaceAll(text, config_.sessionIdAlias, SessionIdText(sessionId));
  return text;
}

std::u16string CMembershipSqlBuilder::InsertHead(const GUID& sessionId, bool isExclusive) const {
  std::u16string head = config_.insertQueryTemplate;
  ReplaceAll(head, config_.tableNameAlias, TableName(sessionId, isExclusive));
  ReplaceAll(head, kColumnNameToken,
             isExclusive ? config_.exclusiveColumnName : config_.inclusiveColumnName);
  return head;
}

void CMembershipSqlBuilder::AppendInsert(std::u16string& out, const GUID& sessionId,
                                         const MemberSet& members, bool isExclusive) const {
  if (members.empty()) return;
  // Table and column are the same in every statement: the template is
  // prepared once and cut where the rows go.
  const std::u16string head = InsertHead(sessionId, isExclusive);
  const std::vector<std::u16string_view> pieces = Split(head, kMembersToken);
  const size_t batchSize = static_cast<size_t>(config_.insertBatchSize);
  const size_t start = out.size();
  out.reserve(start + InsertSizeEstimate(members, head.size(), batchSize));
  std::u16string rows;  // only for a template with %MEMBERS% other than once
  for (auto next = members.begin(); next != members.end();) {
    out += pieces.front();
    if (pieces.size() == 2) {
      AppendRows(out, next, members.end(), batchSize);
      out += pieces.back();
    } else {
      rows.clear();
      AppendRows(rows, next, members.end(), batchSize);
      for (size_t i = 1; i < pieces.size(); ++i) {
        out += rows;
        out += pieces[i];
      }
    }
    out += kStatementEnd;
  }
  VX_LOG(Severity::DBG2,
         u"Full members insert command: " << std::u16string_view(out).substr(start));
}

std::u16string CMembershipSqlBuilder::StoreBatch(const GUID& sessionId,
                                                 const SessionMembers& members) const {
  const std::u16string createTables =
      SessionStatement(config_.createTablesQueryTemplate, sessionId);
  const std::u16string createSession =
      SessionStatement(config_.createSessionQueryTemplate, sessionId);
  const std::u16string statistics[2] = {Statistics(sessionId, false), Statistics(sessionId, true)};
  // All of it in one allocation: the inserts make up nearly all of the text.
  const size_t batchSize = static_cast<size_t>(config_.insertBatchSize);
  std::u16string text;
  text.reserve(
      createTables.size() + createSession.size() + statistics[0].size() + statistics[1].size() +
      InsertSizeEstimate(members.inclusiveMembers, InsertHead(sessionId, false).size(), batchSize) +
      InsertSizeEstimate(members.exclusiveMembers, InsertHead(sessionId, true).size(), batchSize));
  text += createTables;
  text += createSession;
  AppendInsert(text, sessionId, members.inclusiveMembers, false);
  AppendInsert(text, sessionId, members.exclusiveMembers, true);
  text += statistics[0];
  text += statistics[1];
  return text;
}

std::u16string CMembershipSqlBuilder::Statistics(const GUID& sessionId, bool isExclusive) const {
  std::u16string text = config_.updateStatisticsTemplate;
  ReplaceAll(text, config_.tableNameAlias, TableName(sessionId, isExclusive));
  return text;
}

std::u16string CMembershipSqlBuilder::ReleaseBatch(const GUID& sessionId) const {
  std::u16string text = SessionStatement(config_.dropSessionQueryTemplate, sessionId);
  std::u16string records = config_.deleteSessionRecordsQueryTemplate;
  ReplaceAll(records, kSessionsToken, u"N'" + SessionIdText(sessionId) + u"'");
  return text + records;
}

CMembershipSqlBuilder::DropBatchText CMembershipSqlBuilder::DropBatch(
    const std::vector<GUID>& sessionIds) const {
  DropBatchText batch;
  for (const GUID& id : sessionIds) {
    batch.sql += SessionStatement(config_.dropSessionQueryTemplate, id);
    if (!batch.sessions.empty()) batch.sessions += u", ";
    batch.sessions += u"N'" + SessionIdText(id) + u"'";
  }
  if (batch.sessions.empty()) return batch;
  std::u16string records = config_.deleteSessionRecordsQueryTemplate;
  ReplaceAll(records, kSessionsToken, batch.sessions);
  batch.sql += records;
  return batch;
}

}  // namespace QueriesProcessing
