// Pelorin's part inside opencode. Tells of the session, carries permission requests out and the answers back. opencode's
// own prompt stands meanwhile, and the first answer counts.
//
// Where something goes wrong, Pelorin not running first of all, nothing happens: opencode goes on as without a plugin.
import { spawn, spawnSync } from "node:child_process"
import { fileURLToPath } from "node:url"

const hook = fileURLToPath(new URL("cli-hook.sh", import.meta.url))

// opencode waits for a plugin at its end: an application that hangs must not hold it up.
const farewellMilliseconds = 2000

// The requests that wait for an answer, by their ids, and the sessions that have been made known. There is one of each
// however often opencode loads the plugin, so that what comes twice is told once.
const waiting = new Map()
const registered = new Set()

function startHook(command, payload) {
  const child = spawn(hook, ["opencode", command], { stdio: ["pipe", "pipe", "ignore"] })
  child.stdin.on("error", () => {})
  child.stdin.end(JSON.stringify(payload))
  return child
}

// What the hook has printed; nothing when it could not be started.
function outputOf(child) {
  return new Promise((resolve) => {
    let output = ""
    child.stdout.on("data", (bytes) => (output += bytes))
    child.on("error", () => resolve(""))
    child.on("close", () => resolve(output))
  })
}

// What of a request is shown. The whole of a change to a file may be large.
function partsOf({ permission, patterns, metadata }) {
  const { command, filepath, url, query } = metadata ?? {}
  return { permission, patterns, metadata: { command, filepath, url, query } }
}

export const Pelorin = async ({ client, directory }) => {
  // By the id: the folder, and for the session of a sub-agent, the session that the user sees and the agent's name.
  const sessions = new Map()
  // Hooks run one behind the other, so that what they tell arrives in its order.
  let told = Promise.resolve()
  let isOver = false

  function inTurn(task) {
    told = told.then(() => isOver || task()).catch(() => {})
  }

  function tell(command, payload) {
    inTurn(() => outputOf(startHook(command, payload)))
  }

  function payloadOf(event, sessionID, more) {
    const session = sessions.get(sessionID) ?? {}
    return {
      ...more,
      hook_event_name: event,
      session_id: session.root ?? sessionID,
      cwd: session.directory ?? directory,
      ...(session.agent && { agent_type: session.agent }),
    }
  }

  function meet(event, info) {
    if (sessions.has(info.id)) return
    if (info.parentID) {
      const root = sessions.get(info.parentID)?.root ?? info.parentID
      sessions.set(info.id, { directory: info.directory, root, agent: info.agent || "subagent" })
      return
    }
    sessions.set(info.id, { directory: info.directory })
    if (registered.has(info.id)) return
    registered.add(info.id)
    tell("register", payloadOf(event, info.id))
  }

  function part(event, info) {
    if (registered.delete(info.id)) tell("unregister", payloadOf(event, info.id))
    sessions.delete(info.id)
  }

  function ask(event, request) {
    if (waiting.has(request.id)) return
    // A session that is taken up again is not created.
    meet(event, { id: request.sessionID, directory })
    const wait = { sessionID: request.sessionID, child: undefined }
    waiting.set(request.id, wait)
    inTurn(() => {
      // It may have been answered by now.
      if (waiting.get(request.id) !== wait) return
      wait.child = startHook("permission", payloadOf(event, request.sessionID, partsOf(request)))
      // Not waited for: what comes meanwhile must be told.
      outputOf(wait.child).then((answer) => reply(request, wait, answer))
    })
  }

  async function reply(request, wait, answer) {
    if (waiting.get(request.id) !== wait) return
    waiting.delete(request.id)
    if (answer !== "once" && answer !== "reject") return
    try {
      await client.postSessionIdPermissionsPermissionId({
        path: { id: request.sessionID, permissionID: request.id },
        body: { response: answer },
      })
    } catch {
      // The prompt still stands in the terminal.
    }
  }

  function stopWaiting(requestID) {
    const wait = waiting.get(requestID)
    waiting.delete(requestID)
    // A child that could not be started has no id yet a handle, whose signal would go to opencode's own group.
    if (wait?.child?.pid) wait.child.kill("SIGTERM")
  }

  function stopWaitingFor(sessionID) {
    for (const [requestID, wait] of waiting) {
      if (wait.sessionID === sessionID) stopWaiting(requestID)
    }
  }

  function clear(event, { sessionID }) {
    tell("clear", payloadOf(event, sessionID))
  }

  const handlers = {
    "session.created": (event, { info }) => meet(event, info),
    "session.updated": (event, { info }) => meet(event, info),
    "session.deleted": (event, { info }) => part(event, info),
    "session.idle": (event, properties) => {
      stopWaitingFor(properties.sessionID)
      clear(event, properties)
    },
    "permission.asked": ask,
    "permission.replied": (event, properties) => {
      stopWaiting(properties.requestID)
      clear(event, properties)
    },
    "question.asked": (event, properties) => tell("notify", payloadOf(event, properties.sessionID, properties)),
    "question.replied": clear,
    "question.rejected": clear,
  }

  return {
    event: async ({ event }) => {
      try {
        handlers[event.type]?.(event.type, event.properties)
      } catch {
        // An event of a shape that is not known tells nothing.
      }
    },
    dispose: async () => {
      isOver = true
      for (const sessionID of sessions.keys()) {
        stopWaitingFor(sessionID)
        if (!registered.delete(sessionID)) continue
        const input = JSON.stringify(payloadOf("dispose", sessionID))
        spawnSync(hook, ["opencode", "unregister"], { input, timeout: farewellMilliseconds, stdio: ["pipe", "ignore", "ignore"] })
      }
      sessions.clear()
    },
  }
}
