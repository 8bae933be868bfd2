"""Filters made and removed, scene collections switched, Studio Mode and requests until the end, with a page open, in the
distribution's own OBS Studio."""
import threading

import websocket

import session
import stock_obs_test as stock
from obs_client import Obs, await_value

ROUNDS = 17  # of twelve changes each
KINDS = {"beauty": stock.BEAUTY, "landmarks": stock.LANDMARK, "green": stock.GREEN_SCREEN}


def add(obs, name):
    obs.ask("CreateSourceFilter", sourceName="clip", filterName=name, filterKind=KINDS[name], filterSettings={})


def switch(obs, collection):
    obs.ask("SetCurrentSceneCollection", sceneCollectionName=collection)
    await_value("the collection is there", lambda: (obs.try_ask("GetSceneCollectionList").get("responseData") or {})
                .get("currentSceneCollectionName") == collection)
    obs.scene()


def storm(obs, clip):
    first = obs.ask("GetSceneCollectionList")["currentSceneCollectionName"]
    obs.ask("CreateSceneCollection", sceneCollectionName="other")
    obs.scene()
    await_value("the former clip is gone", lambda: not obs.ask("GetInputList", inputKind="ffmpeg_source")["inputs"])
    stock.add_clip(obs, clip)
    add(obs, "beauty")
    obs.vendor("SetBeauty", smooth=0.8)
    switch(obs, first)
    changes = 0
    for turn in range(ROUNDS):
        obs.ask("OpenInputFiltersDialog", inputName="clip")
        for name in KINDS:
            add(obs, name)
            obs.vendor("SetBeauty", smooth=turn / ROUNDS)
        for name in KINDS:
            obs.ask("RemoveSourceFilter", sourceName="clip", filterName=name)
        for name in "beauty", "green":
            add(obs, name)
        switch(obs, "other")
        assert abs(obs.vendor("GetBeauty")["smooth"] - 0.8) < 1e-6, "each collection keeps its look"
        switch(obs, first)
        for name in "beauty", "green":
            obs.ask("RemoveSourceFilter", sourceName="clip", filterName=name)
        changes += 12
    assert changes >= 200, changes
    stock.look(obs, "clip", "plain")


def use_studio_mode(obs):
    add(obs, "beauty")
    obs.ask("SetStudioModeEnabled", studioModeEnabled=True)
    for smooth in 0.2, 0.7:
        obs.vendor("SetBeauty", smooth=smooth)
        obs.ask("TriggerStudioModeTransition")
        filters = obs.ask("GetSourceFilterList", sourceName="clip")["filters"]
        assert [entry["filterSettings"]["beauty_smooth"] for entry in filters] == [round(smooth * 100)], filters
    stock.look(obs, "clip", "plain")
    obs.ask("SetStudioModeEnabled", studioModeEnabled=False)
    stock.look(obs, "clip", "plain")


class Asker(threading.Thread):
    """Sends requests by a connection of its own until that breaks."""

    def __init__(self, obs):
        super().__init__(daemon=True)
        self.client = Obs.__new__(Obs)
        self.client.port, self.client.process, self.client.events = obs.port, obs.process, []
        self.client.connect()
        self.answers = 0

    def run(self):
        try:
            while True:
                self.client.vendor("GetStatus")
                self.client.vendor("SetBeauty", smooth=self.answers % 100 / 100)
                self.client.vendor("Call", call="SetNaturalityIntensity", intensity=0)
                self.answers += 1
        except (OSError, websocket.WebSocketException, AssertionError, ValueError):
            pass


def main():
    arguments = session.arguments()
    with session.Session(arguments.build, arguments.root, window_manager=True) as run:
        obs = run.start_with_clip()
        storm(obs, run.clip)
        use_studio_mode(obs)
        asker = Asker(obs)
        asker.start()
        await_value("requests are answered", lambda: asker.answers > 3)
        leaks = stock.end(obs)
        print("memory leaks:", leaks, "rounds of requests until the end:", asker.answers)
        # OBS Studio 29.0.2 itself leaks one allocation for each collection that it loads from a file.
        assert leaks == 2 * ROUNDS + 1, leaks


if __name__ == "__main__":
    main()
